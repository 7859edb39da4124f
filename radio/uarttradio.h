#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QThread>

#include <mutex>

#include "model/foundationdata.h"
#include "radio/radioframe.h"
#include "radio/sendschedule.h"

class QSerialPort;
class QTimer;

/// Radio link to the neighbouring cranes over a serial modem; keeps Radio.txt.
///
/// The object belongs to the main thread, and so do its slots. run() is the radio thread: it makes
/// the port and the timers, and nothing else touches them. Only the current frame crosses between
/// the two. A port that cannot be opened, or that fails, is closed and tried again every second.
class Radio : public QThread
{
    Q_OBJECT
public:
    explicit Radio(QObject *parent = nullptr);

    /// Appends the entries of Radio.txt to the neighbours. Radio thread.
    void ConfigureStaticRead();
    /// Writes the neighbours to Radio.txt. Radio thread.
    void ConfigureStaticWrit();

public Q_SLOTS:
    /// Takes one own reading as key and number, "rotation300", and rebuilds the frame. Main thread.
    void Radioslots(QString string);

Q_SIGNALS:
    /// A neighbour moved; carries a copy of its record. Emitted in the radio thread.
    void CollideSignal(FoundationData MParameter);
    // Declared for links that do not exist; nothing emits them.
    void VicinityAttributeSignals(QString);
    void VicinityAttitudeSignals(QString);
    void VicinityStatusSignals(QString);

protected:
    void run() override;

private:
    // Main thread only.
    RadioRecord m_record;

    // Radio thread only.
    void openPort();
    void logLoss(bool isThere);
    void losePort();
    void send();
    bool isWaiting() const;
    void receive();
    QSerialPort *m_port = nullptr; // these three are made by run() and end with it
    QTimer *m_sendTimer = nullptr;
    QTimer *m_retryTimer = nullptr;
    SendSchedule m_schedule;
    QList<FoundationData> m_neighbours;
    bool m_isLoaded = false;     // Radio.txt, at the first opening
    bool m_isLossLogged = false; // this and the next: once for each loss, not at every try
    bool m_isObstacleLogged = false;

    // Both threads.
    std::mutex m_frameMutex;   // not Qt's, which the thread sanitizer cannot see
    QByteArray m_currentFrame; // guarded by m_frameMutex
};
