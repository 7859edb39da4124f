#include <QtTest>

#include <QJsonArray>
#include <QJsonDocument>

#include <sys/stat.h>

#include "fulldisk.h"
#include "outputcapture.h"
#include "statefile.h"
#include "workingdirectory.h"

namespace
{

const QString name = QStringLiteral("crane.txt");
const char failure[] = "Failed to open existing file.";

StateFile craneFile()
{
    return StateFile(name, QStringLiteral("crane.txt配置文件"));
}

QByteArray namesOf(const QVector<QJsonObject> &records)
{
    QByteArray names;
    for (const QJsonObject &record : records)
        names += record.value(QStringLiteral("name")).toString().toUtf8() + ';';
    return names;
}

} // namespace

class TestStateFile : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_folder.reset(new WorkingDirectory); }
    void cleanup() { m_folder.reset(); }

    void records_data();
    void records();
    void object_data();
    void object();
    void missingFolderOrPipeInItsPlaceIsReported_data();
    void missingFolderOrPipeInItsPlaceIsReported();
    void writingReplacesTheFileAndEchoesIt();
    void unchangedBytesAreEchoedButNotWritten();
    void bytesThatChangedOnDiskAreWrittenAgain();
    void refusedReplacementKeepsTheOldFile();
    void fullDiskKeepsTheOldFile_data();
    void fullDiskKeepsTheOldFile();

private:
    QScopedPointer<WorkingDirectory> m_folder;
};

void TestStateFile::records_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("names");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("echoed");

    const auto row = [](const char *title, const QByteArray &bytes, const QByteArray &names,
                        const QByteArray &line, const QByteArray &echoed) {
        QTest::newRow(title) << bytes << names << line << echoed;
    };
    const QByteArray two = R"([{"name":"A"},{"name":"乙"}])";
    row("in order", two, "A;乙;", "", two);
    row("other elements are skipped", R"([1,{"name":"A"},null,[{}]])", "A;", "",
        R"([1,{"name":"A"},null,[{}]])");
    row("empty array", "[]", "", "", "[]");
    row("text ends at the first NUL", two + QByteArray("\0garbage", 8), "A;乙;", "", two);
    row("broken UTF-8 becomes a replacement character", "[{\"name\":\"A\xff\"}]", "A\uFFFD;", "",
        "[{\"name\":\"A\uFFFD\"}]");
    row("byte order mark", "\xef\xbb\xbf[{\"name\":\"A\"}]", "A;", "", R"([{"name":"A"}])");
    row("empty file", "", "", "JSON is null. Parsing error:  \"illegal value\"", "");
    row("cut short", R"([{"name":"A"},)", "",
        "JSON is null. Parsing error:  ", R"([{"name":"A"},)");
    row("nested 100 000 deep", QByteArray(100000, '['), "",
        "JSON is null. Parsing error:  ", QByteArray(100000, '['));
    row("an object", R"({"name":"A"})", "", "JSON is not an array", R"({"name":"A"})");
}

void TestStateFile::records()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, echoed);
    WorkingDirectory::write(name, bytes);
    if (!line.isEmpty())
        QTest::ignoreMessage(
            QtDebugMsg, QRegularExpression(QRegularExpression::escape(QString::fromUtf8(line))));
    OutputCapture output;
    QTEST(namesOf(craneFile().readRecords()), "names");
    QCOMPARE(output.text(), "crane.txt配置文件" + echoed + '\n');
}

void TestStateFile::object_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isDamaged");
    QTest::newRow("an object") << QByteArray(R"({"name":"A"})") << false;
    QTest::newRow("an array") << QByteArray(R"([{"name":"A"}])") << true;
    QTest::newRow("not JSON") << QByteArray("{name:A}") << true;
    QTest::newRow("empty file") << QByteArray() << true;
}

void TestStateFile::object()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isDamaged);
    WorkingDirectory::write(name, bytes);
    if (isDamaged)
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral(
                                             "^JSON parse error: 读取配置文件错误 \"")));
    const std::optional<QJsonObject> json = craneFile().readObject();
    QVERIFY(json);
    QCOMPARE(json->isEmpty(), isDamaged);
}

void TestStateFile::missingFolderOrPipeInItsPlaceIsReported_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("missing") << QString();
    QTest::newRow("a folder") << QStringLiteral("folder");
    QTest::newRow("a pipe without a writer") << QStringLiteral("pipe");
}

void TestStateFile::missingFolderOrPipeInItsPlaceIsReported()
{
    QFETCH(QString, kind);
    if (kind == QLatin1String("folder"))
        QVERIFY(QDir().mkdir(name));
    if (kind == QLatin1String("pipe"))
        QCOMPARE(::mkfifo(qPrintable(name), 0600), 0);
    OutputCapture output;
    QTest::ignoreMessage(QtCriticalMsg, failure);
    QVERIFY(!craneFile().readObject());
    QTest::ignoreMessage(QtCriticalMsg, failure);
    QVERIFY(craneFile().readRecords().isEmpty());
    if (!kind.isEmpty()) {
        QTest::ignoreMessage(QtCriticalMsg, failure);
        craneFile().write(QJsonDocument(QJsonArray()));
    }
    QCOMPARE(output.text(), QByteArray());
}

void TestStateFile::writingReplacesTheFileAndEchoesIt()
{
    WorkingDirectory::write(name, "something longer than what is to come, and damaged");
    OutputCapture output;
    craneFile().write(QJsonDocument(QJsonArray{QJsonObject{{QStringLiteral("名"), 0.5}}}));
    QCOMPARE(WorkingDirectory::read(name), QByteArray(R"([{"名":0.5}])"));
    QCOMPARE(output.text(), QByteArray("crane.txt配置文件写入[{\"名\":0.5}]\n"));
    QCOMPARE(QDir().entryList(QDir::Files), QStringList{name}); // no temporary file is left
}

void TestStateFile::unchangedBytesAreEchoedButNotWritten()
{
    const QJsonDocument document(QJsonArray{1});
    craneFile().write(document);
    struct stat before = {};
    QCOMPARE(::stat(qPrintable(name), &before), 0);
    OutputCapture output;
    craneFile().write(document);
    struct stat after = {};
    QCOMPARE(::stat(qPrintable(name), &after), 0);
    QCOMPARE(after.st_ino, before.st_ino);
    QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    QCOMPARE(output.text(), QByteArray("crane.txt配置文件写入[1]\n"));
}

void TestStateFile::bytesThatChangedOnDiskAreWrittenAgain()
{
    const QJsonDocument document(QJsonArray{1});
    craneFile().write(document);
    WorkingDirectory::write(name, "[2]");
    craneFile().write(document);
    QCOMPARE(WorkingDirectory::read(name), QByteArray("[1]"));
}

void TestStateFile::refusedReplacementKeepsTheOldFile()
{
    if (::geteuid() == 0)
        QSKIP("root may write any file; the full disk below is refused to root as well");
    WorkingDirectory::write(name, "[2]");
    QVERIFY(QFile::setPermissions(name, QFile::ReadOwner));
    OutputCapture output;
    QTest::ignoreMessage(QtCriticalMsg, failure);
    craneFile().write(QJsonDocument(QJsonArray{1}));
    QCOMPARE(WorkingDirectory::read(name), QByteArray("[2]"));
    QCOMPARE(output.text(), QByteArray());
}

void TestStateFile::fullDiskKeepsTheOldFile_data()
{
    QTest::addColumn<int>("elements");
    QTest::newRow("short: fails when the buffer is flushed") << 10;
    QTest::newRow("long: fails while writing") << 20000;
}

void TestStateFile::fullDiskKeepsTheOldFile()
{
    QFETCH(int, elements);
    WorkingDirectory::write(name, "[2]");
    QJsonArray larger;
    for (int i = 0; i < elements; ++i)
        larger.append(i);
    OutputCapture output;
    QTest::ignoreMessage(QtCriticalMsg, failure);
    {
        const FullDisk disk(4);
        craneFile().write(QJsonDocument(larger));
    }
    QCOMPARE(WorkingDirectory::read(name), QByteArray("[2]"));
    QCOMPARE(QDir().entryList(QDir::Files), QStringList{name});
    QVERIFY(!output.text().contains("写入"));
}

QTEST_GUILESS_MAIN(TestStateFile)
#include "tst_statefile.moc"
