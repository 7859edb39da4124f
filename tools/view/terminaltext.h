#ifndef TERMINALTEXT_H
#define TERMINALTEXT_H

#include <QString>

/// Text made fit for a terminal. Names and alarm texts come off a bus that anybody may write to,
/// so nothing of them is printed that has not passed through fitted() or printable().

/// Columns that \a text takes in a terminal: two for each Chinese character and each full-width
/// form, none for a combining mark, one for the rest.
int columnsOf(const QString &text);

/// \a text on one line and without power over the terminal: line breaks and other white space
/// become spaces, and every character that is invisible, unassigned, changes the writing
/// direction or controls the terminal becomes '?'. Looks at the first 1000 characters only.
QString printable(const QString &text);

/// \a text made printable and exactly \a columns wide: filled up with spaces on the right, or cut
/// with an ellipsis as its last character. Nothing for a width below 1.
QString fitted(const QString &text, int columns);

/// The same, filled up on the left: for numbers.
QString fittedRight(const QString &text, int columns);

#endif // TERMINALTEXT_H
