#pragma once

#include <QList>
#include <QString>
#include <QVector>

#include "model/foundationdata.h"
#include "radio/radioframe.h"

/// The radio neighbours: who has been heard, and what a frame changes. Pure functions.
///
/// A neighbour is known by its radio key, a text of one character whose code is the crane number.
/// Entries loaded from the file have none until an attribute frame of that crane adopts them.

QString radioKeyOf(quint16 craneNumber);

/// "7号" (No. 7).
QString radioNameOf(quint16 craneNumber);

/// Takes a motion frame into every entry of its crane, in list order; a copy of each. A crane that
/// no entry has changes nothing.
QVector<FoundationData> takeMotion(const RadioFrame &frame, QList<FoundationData> *neighbours);

/// Takes an attribute frame into its crane's first entry, else into the first entry without a key
/// that bears its name and keeps its other members, else into a new one at the end. From 9999
/// entries on there is no new one, since anybody can invent crane numbers: false, and nothing
/// changes.
bool takeAttributes(const RadioFrame &frame, QList<FoundationData> *neighbours);
