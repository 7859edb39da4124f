# What every target of this tree is built with. Not for third-party code.

option(CRANE_WERROR "Treat warnings as errors" OFF)
option(CRANE_SYSTEM_QMQTT "Link an installed qmqtt instead of the MQTT client in mqtt/qmqtt" OFF)
set(CRANE_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")
set(CRANE_CLOUD_ADDRESS "127.0.0.1" CACHE STRING
    "Address of the site's cloud broker, a numeric IPv4 address")

set(octet "(25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9]?[0-9])")
if(NOT CRANE_CLOUD_ADDRESS MATCHES "^${octet}\\.${octet}\\.${octet}\\.${octet}$")
  message(FATAL_ERROR "CRANE_CLOUD_ADDRESS must be a numeric IPv4 address such as 203.0.113.7, "
                      "not \"${CRANE_CLOUD_ADDRESS}\"")
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(crane_options INTERFACE)
target_include_directories(crane_options INTERFACE ${PROJECT_SOURCE_DIR}) # "model/documents.h"
target_compile_options(crane_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wdouble-promotion -Wnon-virtual-dtor
  -ffp-contract=off # clearances round alike on every target
  $<$<BOOL:${CRANE_WERROR}>:-Werror>)
target_compile_definitions(crane_options INTERFACE
  QT_NO_CAST_FROM_ASCII
  QT_NO_MESSAGELOGCONTEXT # log lines carry no file and line, in a debug build too
  $<$<NOT:$<BOOL:${CRANE_SYSTEM_QMQTT}>>:QT_NO_KEYWORDS>) # an installed qmqtt may use them

if(CRANE_SANITIZE)
  add_compile_options(-fsanitize=${CRANE_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${CRANE_SANITIZE})
endif()
