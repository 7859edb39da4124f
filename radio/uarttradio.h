#pragma once

#include <QString>
#include <QThread>

#include "foundationdata.h"

/// The radio link to the neighbouring cranes.
class Radio : public QThread
{
    Q_OBJECT
public:
    explicit Radio(QObject *parent = nullptr);

public Q_SLOTS:
    /// Takes one own reading as key and number, "rotation300". Main thread.
    void Radioslots(QString string);

Q_SIGNALS:
    void CollideSignal(FoundationData MParameter);
    void VicinityAttributeSignals(QString);
    void VicinityAttitudeSignals(QString);
    void VicinityStatusSignals(QString);
};
