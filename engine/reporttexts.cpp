#include "engine/reporttexts.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdlib>
#include <cstring>

#include "geometry/jibgeometry.h"
#include "engine/vicinityreports.h"

namespace
{

const QString beginning = QStringLiteral("{\n    \"neighbours\": [\n"); // of every report
const QString separator = QStringLiteral(",\n");
const QString lastSeparator = QStringLiteral("\n");

/// What follows the neighbours, out of the report of nobody.
QString endOf(const QString &report)
{
    return report.mid(beginning.size());
}

/// The neighbour's piece, out of the report of one. JSON has no line breaks inside a text.
QString onlyPieceOf(const QString &report)
{
    const int end = report.indexOf(QLatin1String("\n    ],\n"), beginning.size());
    return report.mid(beginning.size(), end - beginning.size());
}

QString quoted(const QString &text)
{
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

/// Mostly one and the same data: the entries' texts are copies of copies.
bool isSame(const QString &a, const QString &b)
{
    return a.isSharedWith(b) || a == b;
}

template <size_t size>
bool isSame(const std::array<float, size> &a, const std::array<float, size> &b)
{
    return std::memcmp(a.data(), b.data(), sizeof a) == 0; // bits: NaN and -0 included
}

template <typename Crane>
std::array<float, 3> poseOf(const Crane &crane)
{
    return {crane.rotation, crane.travel, crane.height};
}

std::array<float, 5> ownDimensionsOf(const FoundationData &crane)
{
    return {crane.armlen, crane.craneheight, crane.armwidth, crane.safelen, crane.reararm};
}

std::array<float, 5> poseInPair(const tBasis &crane)
{
    return {crane.rotation, crane.travel, crane.height, crane.hoffset, crane.moffset};
}

std::array<float, 7> dimensionsOf(const tBasis &crane)
{
    return {crane.absolute_X, crane.absolute_Y,   crane.armlen, crane.craneheight,
            crane.armwidth,   crane.safedistance, crane.reararm};
}

QString vicinityPiece(const tBasis &neighbour)
{
    return onlyPieceOf(VicinityReports::VicinitytoV({}, {neighbour}));
}

QString statusPiece(const tBasis &neighbour)
{
    return onlyPieceOf(VicinityReports::VicinityStatus({neighbour}));
}

/// Hundredths as a JSON number, shortest: 1230 gives 12.3.
void appendHundredths(QString *text, qint32 hundredths)
{
    const qint64 magnitude = std::abs(static_cast<qint64>(hundredths));
    const auto fraction = static_cast<int>(magnitude % 100);
    if (hundredths < 0)
        text->append(QLatin1Char('-'));
    text->append(QString::number(magnitude / 100));
    if (fraction == 0)
        return;
    text->append(QLatin1Char('.'));
    text->append(QLatin1Char(static_cast<char>('0' + fraction / 10)));
    if (fraction % 10 != 0)
        text->append(QLatin1Char(static_cast<char>('0' + fraction % 10)));
}

} // namespace

void PiecedText::assemble(const QVector<QString> &pieces, const QString &end)
{
    m_text = beginning;
    m_lengths.clear();
    for (int i = 0; i < pieces.size(); ++i) {
        const QString &between = i + 1 < pieces.size() ? separator : lastSeparator;
        m_text += pieces.at(i) + between;
        m_lengths.append(pieces.at(i).size() + between.size());
    }
    m_text += end;
}

void PiecedText::replacePiece(int index, const QString &piece)
{
    const bool isLast = index + 1 == m_lengths.size();
    const int between = isLast ? lastSeparator.size() : separator.size();
    const int offset = offsetOf(index);
    const int length = m_lengths.at(index) - between;
    if (m_text.midRef(offset, length) == piece)
        return;
    m_text.replace(offset, length, piece);
    m_lengths[index] = piece.size() + between;
}

void PiecedText::replaceEnd(const QString &end)
{
    m_text.truncate(offsetOf(m_lengths.size()));
    m_text += end;
}

int PiecedText::offsetOf(int index) const
{
    int offset = beginning.size();
    for (int i = 0; i < index; ++i)
        offset += m_lengths.at(i);
    return offset;
}

void ReportTexts::update(const FoundationData &self, const QList<tBasis> &list)
{
    if (m_isAssembled && m_inputs.size() == list.size()) {
        updateOwn(self);
        for (int i = 0; i < list.size(); ++i)
            updateNeighbour(i, list.at(i));
        return;
    }
    m_self = self;
    assemble(list);
}

/// All of it anew: at first, and when the list has another length.
void ReportTexts::assemble(const QList<tBasis> &list)
{
    QVector<QString> attitudes;
    QVector<QString> dimensions;
    QVector<QString> states;
    m_inputs = QVector<Inputs>(list.size());
    for (int i = 0; i < list.size(); ++i) {
        takeInputs(list.at(i), &m_inputs[i]);
        attitudes.append(attitudePiece(list.at(i), m_inputs.at(i)));
        dimensions.append(vicinityPiece(list.at(i)));
        states.append(statusPiece(list.at(i)));
    }
    m_attitude.assemble(attitudes, endOf(VicinityReports::VicinityAttitude(m_self, {})));
    m_vicinity.assemble(dimensions, endOf(VicinityReports::VicinitytoV(m_self, {})));
    m_status.assemble(states, endOf(VicinityReports::VicinityStatus({})));
    m_isAssembled = true;
}

void ReportTexts::updateOwn(const FoundationData &self)
{
    const bool isRenamed = self.name != m_self.name;
    const bool isMoved = isRenamed || !isSame(poseOf(self), poseOf(m_self));
    const bool isRebuilt = isRenamed || self.duid != m_self.duid || self.type != m_self.type ||
                           self.heightzero != m_self.heightzero ||
                           !isSame(ownDimensionsOf(self), ownDimensionsOf(m_self));
    if (!isMoved && !isRebuilt)
        return;
    m_self = self;
    if (isMoved)
        m_attitude.replaceEnd(endOf(VicinityReports::VicinityAttitude(self, {})));
    if (isRebuilt)
        m_vicinity.replaceEnd(endOf(VicinityReports::VicinitytoV(self, {})));
}

void ReportTexts::updateNeighbour(int index, const tBasis &neighbour)
{
    const Changes changes = takeInputs(neighbour, &m_inputs[index]);
    if (changes.attitude)
        m_attitude.replacePiece(index, attitudePiece(neighbour, m_inputs.at(index)));
    if (changes.vicinity)
        m_vicinity.replacePiece(index, vicinityPiece(neighbour));
    if (changes.status)
        m_status.replacePiece(index, statusPiece(neighbour));
}

ReportTexts::Changes ReportTexts::takeInputs(const tBasis &neighbour, Inputs *inputs)
{
    const bool isRenamed = inputs->quotedDuid.isEmpty() || !isSame(inputs->duid, neighbour.duid) ||
                           !isSame(inputs->name, neighbour.name);
    if (isRenamed) {
        inputs->duid = neighbour.duid;
        inputs->name = neighbour.name;
        inputs->quotedDuid = quoted(neighbour.duid);
        inputs->quotedName = quoted(neighbour.name);
    }
    const auto pose = poseInPair(neighbour);
    const auto dimensions = dimensionsOf(neighbour);
    const bool isOffline = VicinityReports::isOffline(neighbour);
    const bool isRebuilt = !isSame(dimensions, inputs->dimensions) ||
                           !isSame(inputs->type, neighbour.type) ||
                           !isSame(inputs->heightzero, neighbour.heightzero);
    const Changes changes{isRenamed || !isSame(pose, inputs->pose), isRenamed || isRebuilt,
                          isRenamed || isOffline != inputs->isOffline};
    inputs->pose = pose;
    inputs->isOffline = isOffline;
    if (isRebuilt) {
        inputs->dimensions = dimensions;
        inputs->type = neighbour.type;
        inputs->heightzero = neighbour.heightzero;
    }
    return changes;
}

/// Written by hand: every report of a neighbour that moves needs one.
QString ReportTexts::attitudePiece(const tBasis &neighbour, const Inputs &inputs)
{
    QString piece;
    piece.reserve(200 + inputs.quotedDuid.size() + inputs.quotedName.size());
    piece += QLatin1String("        {\n            \"duid\": ");
    piece += inputs.quotedDuid;
    piece += QLatin1String(",\n            \"hoisting\": ");
    appendHundredths(&piece, VicinityReports::hundredthsOf(neighbour.height));
    piece += QLatin1String(",\n            \"label\": ");
    piece += inputs.quotedName;
    piece += QLatin1String(",\n            \"luffing\": ");
    appendHundredths(&piece, VicinityReports::hundredthsOf(neighbour.travel));
    piece += QLatin1String(",\n            \"slewing\": ");
    appendHundredths(&piece, VicinityReports::slewingHundredths(neighbour));
    piece += QLatin1String("\n        }");
    return piece;
}
