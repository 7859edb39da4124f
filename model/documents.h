#pragma once

#include <QString>

#include "model/foundationdata.h"

class QJsonObject;

/// The JSON documents that describe a crane, and the alarm document.
///
/// All of these are pure, accept any input and report nothing. Ranges are not checked: what a
/// crane reports is stored as it comes.

/// Copies a crane-state document into slewing (degrees), trolley and rope (metres).
///
/// Each is looked up on its own, through the first element of "tower", "gantry" and "hoist".
/// Absent, or below an array that is empty or no array: that target keeps its value. Present but
/// not a number: 0.
void backdata(QJsonObject document, float *rotation, float *travel, float *height);

/// Copies a working-set document into \a record: its geometry and labels.
///
/// They stand in the first element of "workset" whose "object" is "general"; there, an absent or
/// mistyped key stores 0 or the empty text, the safety distance included. Returns whether there
/// is such an element; without one the record keeps its values.
bool Worksetdata(QJsonObject document, FoundationData *record);

/// Sets the name and the two cloud topics of \a record from a registration document.
///
/// Always sets all three. What is absent or mistyped is empty in the topics, a type number that is
/// not whole is 0. The filter ends in three wildcard levels, for vendor, owner and a third that
/// is 0 in the own topics; the vendor stands before the owner.
void parseJsonObject(const QJsonObject &document, FoundationData &record);

/// The alarm document, indented.
///
/// \a level is 15 for the slewing zone, 25 for a pair of crane parts; \a timestampMs is the time
/// of building, in milliseconds since 1970 UTC.
QString alarmDocument(const QString &detail, int level, bool triggered, qint64 timestampMs);
