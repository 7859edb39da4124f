#pragma once

#include <QtCore/qnamespace.h>

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
    Qt::ConnectionType type = Qt::AutoConnection;
};

Workers createWorkers();

/// Who tells whom what, in the order in which the connections are made. Emitted in the main thread
/// a signal calls the slot directly, otherwise it is queued to the main thread; only the spoken
/// warnings are always queued, since their slot waits in an event loop of its own.
std::array<Connection, 13> wiring(const Workers &workers);

/// Makes every connection; false if one of them does not exist.
bool connectWorkers(const Workers &workers);

void startWorkers(const Workers &workers);
