#pragma once

#include <QMetaType>
#include <QString>

/// One crane: its fixed geometry, its live motion, its identity and its cloud topics.
///
/// A plain value, copied member by member; it travels between the links and the engine by value.
/// Lengths and heights are metres, angles degrees. A new record is all zero and empty, but for the
/// safety distance. The names are fixed: the state files and the documents are mapped to them.
struct FoundationData {
    float location_X = 0.0f;  ///< x of the slewing axis in the pair frame; 0 for the own crane
    float location_Y = 0.0f;  ///< kept with location_X by the radio link; the geometry ignores it
    float craneheight = 0.0f; ///< height of the jib above the foundation
    float foundation = 0.0f;  ///< height of the foundation
    float armlen = 0.0f;      ///< jib; 999 and more puts the crane into calibration mode
    float reararm = 0.0f;     ///< counter-jib
    float height = 0.0f;      ///< hoist rope paid out below the jib
    float travel = 0.0f;      ///< trolley, from the slewing axis
    float rotation = 0.0f;    ///< slewing reading
    float towerhead = 0.0f;   ///< tower top above the jib; no input sets it
    QString radioKey;         ///< one character whose code is the radio neighbour's crane number
    QString name;             ///< label: the crane's field number on the site
    qint32 spareInt = 0;      ///< carried along; no input sets it
    QString duid;             ///< device id on the bus and in the cloud
    float offset = 0.0f;      ///< slewing reading from which the jib direction is measured
    float spare4 = 0.0f;      ///< carried along; no input sets it
    float safelen = 5.0f;     ///< safety distance: the clearance at which alarms are raised
    float armwidth = 0.0f;    ///< jib width
    QString type;             ///< crane type
    QString heightzero;       ///< height zero reference, kept as text
    QString MqttTop;          ///< cloud subscription filter, without the final "#"
    QString MqttDataTop;      ///< prefix of the own cloud topics, up to the device id
};

Q_DECLARE_METATYPE(FoundationData)
