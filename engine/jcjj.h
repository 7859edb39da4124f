#pragma once

#include <QList>
#include <QString>
#include <QThread>
#include <QVector3D>

#include <mutex>

#include "engine/evaluation.h"
#include "model/foundationdata.h"
#include "geometry/jibgeometry.h"
#include "engine/reporttexts.h"
#include "model/tbasis.h"
#include "engine/vicinityreports.h"

// The engine's state, one each for the process.
extern FoundationData MParameter; ///< the own crane; main thread only
extern QList<tBasis> basis;       ///< the neighbours; guarded by the engine's mutex

/// The collision engine: for each report of a neighbour the vicinity reports that changed, the
/// clearances, the alarms; keeps the neighbour list in jcjj.txt.
///
/// The object belongs to the main thread, and its slots run there. run() is the engine's thread,
/// which counts each neighbour's silence. The list is loaded once, by run() or by the first cycle
/// of a started engine, whichever is first: what a cycle saves has the earlier calibrations in it.
/// One mutex guards the list around a whole cycle, the load and each count; no receiver of a
/// signal may call back into the engine.
class JCJJ : public QThread, public JibGeometry, public VicinityReports
{
    Q_OBJECT
public:
    explicit JCJJ(QObject *parent = nullptr);

    /// Appends the entries of jcjj.txt to the list. The caller holds the mutex.
    void ConfigureStaticRead();
    /// Writes the list to jcjj.txt. The caller holds the mutex.
    void ConfigureStaticWrit();

public Q_SLOTS:
    /// Takes the own crane, every field of it.
    void mylocal(FoundationData data);
    /// One evaluation cycle for the neighbour that reports.
    void CollideSlots(FoundationData foundata);
    /// The same for a neighbour heard by radio; what no frame carries is taken from its entry.
    void RadioCollideSlots(FoundationData report);

Q_SIGNALS:
    /// An alarm is raised or cleared; \a level is 15 (slewing zone) or 25 (a pair of parts).
    void CollideMessageSignals(QString alarm, int level, QString top, bool triggered);
    void VicinityAttitudeSignals(QString tring);
    void VicinityAttitudeSignals(QString top, QString tring);
    void VicinityAttributeSignals(QString tring);
    void VicinitytoVSignals(QString top, QString tring);
    void VicinityStatusSignals(QString tring);
    void VicinityStatusSignals(QString top, QString tring);
    /// Right after an alarm was raised: its kind, "rotationTorotation" (slewing zone, both jibs in
    /// plan) or "HeightTRotationAlarm" (a pair of parts), the own segment and the neighbour's.
    void VoiceMessageSignals(QString alarm, QVector3D mBegin, QVector3D mEnd, QVector3D hBegin,
                             QVector3D hEnd, bool triggered);
    // Declared for links that do not exist; nothing emits or receives them.
    void Alarmsignals(QString alarm, QString top);
    void MqttMessageSignals(QString messages);

protected:
    void run() override;

private:
    std::unique_lock<std::mutex> lockLoadedList();
    void runCycle(FoundationData report); // under the mutex
    void sendAlarm(const Alarm &alarm, int level, const QString &top, const QString &voiceKind);
    // A report goes out when its text differs from the last one of its kind, to the board first.
    void sendAttitude();
    void sendVicinity();
    void sendStatus();
    void sendZone(const FoundationData &report, const Encounter &encounter, tBasis *entry);
    void sendPairs(const FoundationData &report, const Encounter &encounter, tBasis *entry);

    bool m_isLoaded = false; // jcjj.txt; guarded by the mutex
    ReportTexts m_texts;     // used in a cycle only, under the mutex
};
