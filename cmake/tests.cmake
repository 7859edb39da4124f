find_package(Qt5 5.15 REQUIRED COMPONENTS Test)

add_custom_target(threads COMMENT "All tests with that label are built")

# crane_test(name labels library...) builds tst_name.cpp and registers it with CTest.
#
# The labels: "unit" needs nothing but the machine; "integration" needs a broker, a
# pseudo-terminal or a sound server, and fails with the reason where one is missing; "threads" is
# for the thread sanitizer, too. With `wrapper` set it is the command that runs the test.
function(crane_test name labels)
  add_executable(tst_${name} tst_${name}.cpp)
  target_link_libraries(tst_${name} PRIVATE crane_options Qt5::Test ${ARGN})
  add_test(NAME ${name} COMMAND ${wrapper} $<TARGET_FILE:tst_${name}>)
  set_tests_properties(${name} PROPERTIES LABELS "${labels}" TIMEOUT 120)
  if("threads" IN_LIST labels)
    add_dependencies(threads tst_${name})
  endif()
endfunction()
