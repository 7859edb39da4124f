#pragma once

#include <functional>
#include <string>
#include <vector>

/// The pieces of a report that are measured, each in a plain and in a fast form that do the same.
///
/// The forms of one piece take the same inputs in the same order, so their costs can be set against
/// each other. They run in the working directory, and write into it; one thread.

/// Does the piece's work once, for the next report.
using PieceStep = std::function<void()>;

struct PieceForm {
    std::string name; ///< piece and form: "texts10/plain"
    /// Makes what the steps share; the first step comes after all that is done once only.
    std::function<PieceStep()> prepare;
};

/// Pieces: "texts10" and "texts200" (the three report texts after one neighbour of so many has
/// moved), "clearances" (both cranes' segments and the 17 searches), "logline" (a day-file line),
/// "match200" (a crane id to its records, as it is), "save" (mymqtt.txt with 200 records).
/// The plain forms of "logline" and "save" are the bare system calls with the same bytes, which of
/// "save" Qt's writer makes.
std::vector<PieceForm> pieceForms();

/// How many of \a count pairs of cranes, half of them degenerate, have a clearance that differs in
/// a bit between the two forms.
int differingPairs(int count);

/// Whether the saved mymqtt.txt is, to the byte, what Qt writes of the same records.
bool isSavedAsQtWould();
