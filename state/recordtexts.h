#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QList>
#include <QVector>

#include <cstring>

#include "model/jsonmembers.h"

/// The text of a state file that holds a list of records, kept piece by piece.
///
/// text() equals, to the byte, the compact array that Qt writes of the same records. Each record
/// has a piece, kept with the record that it was made from; it is made anew when one of the members
/// of the tables differs. One pair of tables for the object's life.
template <typename Record>
class RecordTexts
{
public:
    template <typename Numbers, typename Texts>
    QByteArray text(const Numbers &numbers, const Texts &texts, const QList<Record> &list)
    {
        m_pieces.resize(list.size());
        int size = 2;
        for (int i = 0; i < list.size(); ++i) {
            Piece &piece = m_pieces[i];
            if (piece.json.isEmpty() || !isSame(numbers, texts, piece.record, list.at(i))) {
                piece.record = list.at(i);
                piece.json = QJsonDocument(writeMembers(piece.record, numbers, texts))
                                 .toJson(QJsonDocument::Compact);
            }
            size += piece.json.size() + 1;
        }
        return joined(size);
    }

private:
    struct Piece {
        Record record;
        QByteArray json;
    };

    template <typename Numbers, typename Texts>
    static bool isSame(const Numbers &numbers, const Texts &texts, const Record &a, const Record &b)
    {
        for (const NumberMember<Record> &member : numbers) { // bits: NaN and -0 included
            if (std::memcmp(&(a.*member.field), &(b.*member.field), sizeof(float)) != 0)
                return false;
        }
        for (const TextMember<Record> &member : texts) {
            if (a.*member.field != b.*member.field)
                return false;
        }
        return true;
    }

    QByteArray joined(int size) const
    {
        QByteArray text;
        text.reserve(size);
        text.append('[');
        for (const Piece &piece : m_pieces) {
            if (text.size() > 1)
                text.append(',');
            text.append(piece.json);
        }
        return text.append(']');
    }

    QVector<Piece> m_pieces;
};
