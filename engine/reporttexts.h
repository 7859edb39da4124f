#pragma once

#include <QList>
#include <QString>
#include <QVector>

#include <array>

#include "model/foundationdata.h"
#include "model/tbasis.h"

/// A report's text: a beginning, one piece for each neighbour, an end.
///
/// Invariant: text() is the concatenation, with the separators between the pieces.
class PiecedText
{
public:
    /// Sets all of it anew.
    void assemble(const QVector<QString> &pieces, const QString &end);
    /// Puts \a piece in the place of piece \a index; the same piece costs a comparison.
    void replacePiece(int index, const QString &piece);
    void replaceEnd(const QString &end);
    const QString &text() const { return m_text; }

private:
    int offsetOf(int index) const;

    QString m_text;
    QVector<int> m_lengths; // of the pieces, separators included
};

/// The three vicinity reports, kept up to date piece by piece.
///
/// After update() the three texts equal, to the byte, those that VicinityReports builds from the
/// same records. Each crane has one piece in each text, kept with the inputs that it was made from:
/// as long as these are the same bits, the piece stays; when they differ it is made anew and put in
/// the place of the old one. So a report that moves one neighbour costs one piece, and a look at
/// everybody's inputs, which anybody may have changed.
class ReportTexts
{
public:
    void update(const FoundationData &self, const QList<tBasis> &list);

    const QString &attitude() const { return m_attitude.text(); }
    const QString &vicinity() const { return m_vicinity.text(); }
    const QString &status() const { return m_status.text(); }

private:
    /// What the pieces of one neighbour were made from.
    struct Inputs {
        QString duid;
        QString name;
        QString type;
        QString heightzero;
        std::array<float, 5> pose = {};       // of the attitude report
        std::array<float, 7> dimensions = {}; // of the vicinity report
        bool isOffline = false;
        QString quotedDuid; // as JSON writes it
        QString quotedName;
    };

    /// Whose piece is no longer what the inputs say.
    struct Changes {
        bool attitude;
        bool vicinity;
        bool status;
    };

    static Changes takeInputs(const tBasis &neighbour, Inputs *inputs);
    static QString attitudePiece(const tBasis &neighbour, const Inputs &inputs);
    void updateOwn(const FoundationData &self);
    void updateNeighbour(int index, const tBasis &neighbour);
    void assemble(const QList<tBasis> &list);

    PiecedText m_attitude;
    PiecedText m_vicinity;
    PiecedText m_status;
    bool m_isAssembled = false;
    FoundationData m_self;
    QVector<Inputs> m_inputs; // one for each neighbour, in list order
};
