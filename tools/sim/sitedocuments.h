#pragma once

#include "tools/sim/site.h"

#include <QByteArray>

/// What a played site says on the two brokers, and how the controller's reports are read to see
/// that it was understood. Functions on values; the documents are compact JSON in UTF-8.

/// The topics of the board's other programs.
inline const QString deviceIdTopic = QStringLiteral("Local/DUID");
inline const QString registrationTopic = QStringLiteral("Local/IdentityInfo");
inline const QString worksetTopic = QStringLiteral("Local/Workset");
inline const QString craneStateTopic = QStringLiteral("Local/Data");

/// The controller's reports on the board.
inline const QString attributeReportTopic = QStringLiteral("Local/Vicinity/Attribute/TEXT");
inline const QString attitudeReportTopic = QStringLiteral("Local/Vicinity/Attitude/TEXT");

/// From this jib length on, in metres, a working set means that the crane is being calibrated.
constexpr double calibrationArmLength = 999;

/// Topics of a neighbour's unit, in the project of registrationDocument().
QString neighbourWorksetTopic(const SiteCrane &neighbour);
QString neighbourStateTopic(const SiteCrane &neighbour);

/// The device id of \a crane.
QByteArray deviceIdDocument(const SiteCrane &crane);

/// The registration of \a crane with the played project: type 3, company C1, department D2,
/// project P3, owner O4, vendor V5.
QByteArray registrationDocument(const SiteCrane &crane);

/// The working set of \a crane with a jib of \a armLength metres.
QByteArray worksetDocument(const SiteCrane &crane, double armLength);

/// The crane-state document of a reading.
QByteArray craneStateDocument(const CraneReading &reading);

/// Whether the controller's last two reports show \a neighbour as calibrated from \a pose: its
/// name, its place, both slewing references and both trolleys. An empty or broken report does not.
bool showsCalibration(const QByteArray &attributeReport, const QByteArray &attitudeReport,
                      const SiteCrane &neighbour, const CalibrationPose &pose);

/// Whether the attribute report holds the real jib length of every crane of \a site.
bool showsArmLengths(const QByteArray &attributeReport, const Site &site);
