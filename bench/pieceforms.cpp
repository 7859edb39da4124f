#include "bench/pieceforms.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <memory>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "app/loghandler.h"
#include "bench/cranepairs.h"
#include "cloud/mymqtt.h"
#include "engine/reporttexts.h"
#include "engine/vicinityreports.h"

namespace
{

constexpr int siteList = 200;

// ---- The report texts ----

struct Site {
    FoundationData self;
    QList<tBasis> list;
    int next = 0;

    explicit Site(int size)
    {
        QRandomGenerator random(1);
        self.duid = QStringLiteral("TC0000");
        self.name = QStringLiteral("1号塔机");
        for (int i = 0; i < size; ++i) {
            tBasis entry;
            entry.duid = QStringLiteral("TC%1").arg(i + 1, 4, 10, QLatin1Char('0'));
            entry.name = QStringLiteral("%1号塔机").arg(i + 2);
            entry.type = QStringLiteral("QTZ80");
            entry.heightzero = QStringLiteral("0");
            entry.moffset = plainNumber(random, 0.0f, 360.0f);
            entry.hoffset = plainNumber(random, 0.0f, 360.0f);
            entry.absolute_X = plainNumber(random, -90.0f, 90.0f);
            entry.absolute_Y = plainNumber(random, -90.0f, 90.0f);
            entry.armlen = plainNumber(random, 20.0f, 75.0f);
            entry.reararm = plainNumber(random, 5.0f, 20.0f);
            entry.craneheight = plainNumber(random, 20.0f, 80.0f);
            entry.rotation = plainNumber(random, 0.0f, 360.0f);
            list.append(entry);
        }
    }

    /// One neighbour after the other slews, trolleys and hoists, as one report tells.
    void moveNext()
    {
        tBasis &entry = list[next];
        next = (next + 1) % list.size();
        entry.rotation = std::fmod(entry.rotation + 0.37f, 360.0f);
        entry.travel = std::fmod(entry.travel + 0.11f, 60.0f);
        entry.height = std::fmod(entry.height + 0.23f, 40.0f);
        entry.silentTicks = 0;
    }
};

PieceStep plainTexts(int size)
{
    return [site = std::make_shared<Site>(size)] {
        site->moveNext();
        benchmark::DoNotOptimize(VicinityReports::VicinityAttitude(site->self, site->list));
        benchmark::DoNotOptimize(VicinityReports::VicinitytoV(site->self, site->list));
        benchmark::DoNotOptimize(VicinityReports::VicinityStatus(site->list));
    };
}

PieceStep fastTexts(int size)
{
    const auto texts = std::make_shared<ReportTexts>();
    const auto site = std::make_shared<Site>(size);
    texts->update(site->self, site->list);
    // The engine keeps what it has sent, so the next report changes a copy.
    return [texts, site, sent = std::array<QString, 3>()]() mutable {
        site->moveNext();
        texts->update(site->self, site->list);
        const QString *text[] = {&texts->attitude(), &texts->vicinity(), &texts->status()};
        for (size_t i = 0; i < sent.size(); ++i) {
            if (*text[i] != sent[i])
                sent[i] = *text[i];
        }
        benchmark::DoNotOptimize(sent[0].constData());
    };
}

// ---- The clearances ----

using Pairs = std::vector<CranePair>;

std::shared_ptr<Pairs> thousandPairs()
{
    const auto pairs = std::make_shared<Pairs>();
    QRandomGenerator random(1);
    while (pairs->size() < 1000)
        pairs->push_back(likelyPair(random));
    return pairs;
}

PieceStep plainSearches()
{
    return [pairs = thousandPairs(), next = 0u]() mutable {
        benchmark::DoNotOptimize(plainEncounter((*pairs)[next++ % pairs->size()]));
    };
}

PieceStep fastSearches()
{
    return [pairs = thousandPairs(), next = 0u]() mutable {
        const CranePair &pair = (*pairs)[next++ % pairs->size()];
        benchmark::DoNotOptimize(encounterOf(pair.own, pair.neighbour));
    };
}

// ---- The day-file line ----

const QString logMessage = QStringLiteral("\"2号塔机\" 回转到回转 31.4159"); // slewing to slewing

/// The handler, not installed: so it passes nothing on, since that write is not meant.
PieceStep handledLine()
{
    QDir().mkdir(QStringLiteral("log"));
    const auto step = [] { customMessageHandler(QtDebugMsg, QMessageLogContext(), logMessage); };
    step();
    return step;
}

/// A line as the handler wrote it.
QByteArray lineOfTheLog()
{
    handledLine();
    const QDir folder(QStringLiteral("log"));
    QFile file(folder.filePath(folder.entryList({QStringLiteral("*-*-*.txt")}).value(0)));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("the day file is missing");
    return file.readLine();
}

PieceStep bareLine()
{
    return [line = lineOfTheLog()] {
        const int file = ::open("log/bareline.txt", O_WRONLY | O_CREAT | O_APPEND, 0666);
        if (::write(file, line.constData(), static_cast<size_t>(line.size())) != line.size())
            qFatal("no space for a line");
        ::close(file);
    };
}

// ---- The match ----

QList<FoundationData> recordsOf(int count)
{
    QList<FoundationData> list;
    for (int i = 0; i < count; ++i) {
        FoundationData record;
        record.duid = QStringLiteral("TC%1").arg(i, 10, 10, QLatin1Char('0'));
        record.name = QStringLiteral("%1号塔机").arg(i);
        record.type = QStringLiteral("QTZ80");
        record.heightzero = QStringLiteral("0");
        record.armlen = 30.0f + static_cast<float>(i % 400) / 10.0f;
        record.reararm = 12.5f;
        record.craneheight = 20.0f + static_cast<float>(i % 600) / 10.0f;
        record.armwidth = 1.2f;
        list.append(record);
    }
    return list;
}

/// A crane id to its records, for the reports of all cranes in no order.
PieceStep match()
{
    const QList<FoundationData> list = recordsOf(siteList);
    QStringList ids;
    for (const FoundationData &record : list)
        ids += QString(record.duid.constData(), record.duid.size()); // of a topic
    QRandomGenerator random(1);
    std::shuffle(ids.begin(), ids.end(), random);
    return [list, ids, next = 0]() mutable {
        next = (next + 1) % ids.size();
        int matches = 0;
        for (const FoundationData &record : list)
            matches += ids.at(next).contains(record.duid);
        benchmark::DoNotOptimize(matches);
    };
}

// ---- The state file ----

QByteArray textByQt()
{
    QJsonArray records;
    for (const FoundationData &record : foundata) {
        records.append(
            QJsonObject{{QStringLiteral("armlen"), static_cast<double>(record.armlen)},
                        {QStringLiteral("reararm"), static_cast<double>(record.reararm)},
                        {QStringLiteral("craneheight"), static_cast<double>(record.craneheight)},
                        {QStringLiteral("foundation"), static_cast<double>(record.foundation)},
                        {QStringLiteral("offset"), static_cast<double>(record.offset)},
                        {QStringLiteral("armwidth"), static_cast<double>(record.armwidth)},
                        {QStringLiteral("top"), record.duid},
                        {QStringLiteral("name"), record.name},
                        {QStringLiteral("type"), record.type},
                        {QStringLiteral("heightzero"), record.heightzero}});
    }
    return QJsonDocument(records).toJson(QJsonDocument::Compact);
}

/// A working set has changed one record before every save.
PieceStep savedRecords()
{
    foundata = recordsOf(siteList);
    const auto link = std::make_shared<MqttThread>();
    link->ConfigureStaticWrit();
    return [link, next = 0]() mutable {
        FoundationData &record = foundata[next];
        next = (next + 1) % siteList;
        record.armlen = record.armlen < 50.0f ? record.armlen + 0.5f : 30.0f;
        link->ConfigureStaticWrit();
    };
}

PieceStep bareSave()
{
    foundata = recordsOf(siteList);
    return [] {
        const QByteArray text = textByQt();
        char name[] = "baresave.txt.XXXXXX";
        const int file = ::mkstemp(name);
        if (::write(file, text.constData(), static_cast<size_t>(text.size())) != text.size() ||
            ::fdatasync(file) != 0 || ::close(file) != 0 || ::rename(name, "baresave.txt") != 0)
            qFatal("cannot save %s", name);
        const int folder = ::open(".", O_RDONLY | O_DIRECTORY);
        if (::fsync(folder) != 0 || ::close(folder) != 0)
            qFatal("cannot sync the folder of %s", name);
    };
}

} // namespace

std::vector<PieceForm> pieceForms()
{
    return {
        {"texts10/plain", [] { return plainTexts(10); }},
        {"texts10/fast", [] { return fastTexts(10); }},
        {"texts200/plain", [] { return plainTexts(200); }},
        {"texts200/fast", [] { return fastTexts(200); }},
        {"clearances/plain", plainSearches},
        {"clearances/fast", fastSearches},
        {"logline/plain", bareLine},
        {"logline/fast", handledLine},
        {"match200/plain", match},
        {"save/plain", bareSave},
        {"save/fast", savedRecords},
    };
}

int differingPairs(int count)
{
    QRandomGenerator random(2);
    int differing = 0;
    for (int i = 0; i < count; ++i) {
        const CranePair pair = i % 2 ? likelyPair(random) : degeneratePair(random);
        if (firstDifference(encounterOf(pair.own, pair.neighbour), plainEncounter(pair)) >= 0)
            ++differing;
    }
    return differing;
}

bool isSavedAsQtWould()
{
    PieceStep save = savedRecords();
    for (int i = 0; i < 5; ++i)
        save();
    QFile file(QStringLiteral("mymqtt.txt"));
    return file.open(QIODevice::ReadOnly) && file.readAll() == textByQt();
}
