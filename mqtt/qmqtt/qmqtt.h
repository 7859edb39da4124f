#pragma once

// The MQTT client of this system: QMQTT::Client and QMQTT::Message.

#include "qmqtt_client.h"
#include "qmqtt_message.h"
