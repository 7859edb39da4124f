#pragma once

#include <QString>

#include <array>

/// One neighbour as the collision engine knows it. Metres and degrees; new entries are all 0.
struct tBasis {
    float location_X = 0.0f; ///< distance between the two slewing axes
    float location_Y = 0.0f; ///< stored and saved only
    QString duid;            ///< device id
    float moffset = 0.0f;    ///< own slewing reading with the own jib pointing at the neighbour
    float hoffset = 0.0f;    ///< neighbour's reading with its jib pointing at the own crane
    quint64 alarmFlags = 0;  ///< bit 0: the slewing-zone alarm is active
    QString name;            ///< the neighbour's label; its reports are matched by it
    float absolute_X = 0.0f; ///< position on the own slewing scale
    float absolute_Y = 0.0f;
    // From here to heightzero: of the last report.
    float armlen = 0.0f;
    float reararm = 0.0f;
    float height = 0.0f;
    float travel = 0.0f;
    float rotation = 0.0f;
    float safedistance = 0.0f; ///< reported, but filled by nothing
    float armwidth = 0.0f;
    QString type;
    QString heightzero;
    float craneheight = 0.0f; ///< of the state file only
    QString zoneMessage;      ///< text of the last slewing-zone alarm raised
    /// Text of the active alarm of own segment i and neighbour segment j at i * 4 + j, else empty.
    std::array<QString, 16> pairMessages;
    qint32 silentTicks = 0; ///< seconds since the last report
};
