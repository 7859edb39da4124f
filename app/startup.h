#pragma once

#include <array>

class JCJJ;
class LocalData;
class MqttThread;
class QObject;
class Radio;
class VoiceAlarm;

/// The five workers. Objects of the main thread, without a parent; they live until the process
/// ends and are never stopped.
struct Workers {
    MqttThread *cloud;
    LocalData *local;
    JCJJ *engine;
    Radio *radio;
    VoiceAlarm *voice;
};

/// One row of the wiring: signatures as SIGNAL() and SLOT() write them.
struct Connection {
    QObject *sender;
    const char *signal;
    QObject *receiver;
    const char *slot;
};

Workers createWorkers();

/// Who tells whom what, in the order in which the connections are made. All are automatic: emitted
/// in the main thread a signal calls the slot directly, otherwise it is queued to the main thread.
std::array<Connection, 11> wiring(const Workers &workers);

/// Makes every connection; false if one of them does not exist.
bool connectWorkers(const Workers &workers);

void startWorkers(const Workers &workers);
