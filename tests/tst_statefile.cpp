#include <QtTest>

#include <QJsonArray>
#include <QJsonDocument>

#include <cerrno>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/fulldisk.h"
#include "tests/outputcapture.h"
#include "state/statefile.h"
#include "tests/workingdirectory.h"

static int syncsToFailure = 0; // the sync of that number fails; 0: none

/// In the place of the C library's.
extern "C" int fsync(int file)
{
    if (syncsToFailure > 0 && --syncsToFailure == 0) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, file));
}

namespace
{

const QString name = QStringLiteral("crane.txt");
const char failure[] = "Failed to open existing file.";

StateFile craneFile()
{
    return StateFile(name, QStringLiteral("crane.txt配置文件"));
}

/// While it lives the test has no privileges, and the working directory this mode.
class OrdinaryUser
{
public:
    explicit OrdinaryUser(mode_t folder) : m_isRoot(::geteuid() == 0)
    {
        ::chmod(".", folder);
        if (m_isRoot && ::seteuid(65534) != 0)
            qFatal("cannot become an ordinary user");
    }
    ~OrdinaryUser()
    {
        if (m_isRoot && ::seteuid(0) != 0)
            qFatal("cannot become root again");
        ::chmod(".", 0700);
    }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    const bool m_isRoot;
};

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
    void writingReplacesTheFileAndEchoesIt_data();
    void writingReplacesTheFileAndEchoesIt();
    void linkAndPermissionsStay();
    void unchangedBytesAreEchoedButNotWritten();
    void bytesThatChangedOnDiskAreWrittenAgain();
    void failedSyncCountsAsNotWritten_data();
    void failedSyncCountsAsNotWritten();
    void onlyItsOwnLeftoverIsRemoved();
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

void TestStateFile::writingReplacesTheFileAndEchoesIt_data()
{
    QTest::addColumn<int>("folder"); // its permissions
    QTest::newRow("by a new file") << 0777;
    QTest::newRow("by a new file, in a folder that cannot be synced") << 0333;
    QTest::newRow("in place, where the folder allows no new file") << 0555;
}

void TestStateFile::writingReplacesTheFileAndEchoesIt()
{
    QFETCH(int, folder);
    WorkingDirectory::write(name, "something longer than what is to come, and damaged");
    ::chmod(qPrintable(name), 0666);
    OutputCapture output;
    {
        const OrdinaryUser user(static_cast<mode_t>(folder));
        craneFile().write(QJsonDocument(QJsonArray{QJsonObject{{QStringLiteral("名"), 0.5}}}));
    }
    QCOMPARE(WorkingDirectory::read(name), QByteArray(R"([{"名":0.5}])"));
    QCOMPARE(output.text(), QByteArray("crane.txt配置文件写入[{\"名\":0.5}]\n"));
    QCOMPARE(QDir().entryList(QDir::Files), QStringList{name}); // no temporary file is left
}

void TestStateFile::linkAndPermissionsStay()
{
    const QString place = QStringLiteral("elsewhere/real.txt");
    QVERIFY(QDir().mkdir(QStringLiteral("elsewhere")));
    WorkingDirectory::write(place, "[2]");
    QCOMPARE(::chmod(qPrintable(place), 0604), 0);
    QVERIFY(QFile::link(place, name));
    OutputCapture output;
    craneFile().write(QJsonDocument(QJsonArray{1}));
    QVERIFY(QFileInfo(name).isSymLink());
    QCOMPARE(WorkingDirectory::read(place), QByteArray("[1]"));
    struct stat after = {};
    QCOMPARE(::stat(qPrintable(place), &after), 0);
    QCOMPARE(after.st_mode & 0777, mode_t(0604));
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
    const uid_t owner = ::geteuid() == 0 ? 65534 : ::geteuid(); // who may save it later
    QCOMPARE(::chown(qPrintable(name), owner, static_cast<gid_t>(-1)), 0);
    craneFile().write(document);
    QCOMPARE(WorkingDirectory::read(name), QByteArray("[1]"));
    QCOMPARE(QFileInfo(name).ownerId(), owner);
}

void TestStateFile::failedSyncCountsAsNotWritten_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("of the new file: the old one stays") << 1 << QByteArray("[2]");
    QTest::newRow("of the folder after the rename") << 2 << QByteArray("[1]");
}

void TestStateFile::failedSyncCountsAsNotWritten()
{
    QFETCH(int, failing);
    const QJsonDocument document(QJsonArray{1});
    WorkingDirectory::write(name, "[2]");
    OutputCapture output;
    QTest::ignoreMessage(QtCriticalMsg, failure);
    syncsToFailure = failing;
    craneFile().write(document);
    QCOMPARE(syncsToFailure, 0);
    QTEST(WorkingDirectory::read(name), "left");
    QCOMPARE(QDir().entryList(QDir::Files), QStringList{name});

    // Written anew, although it may read back the same.
    QTest::ignoreMessage(QtCriticalMsg, failure);
    syncsToFailure = failing;
    craneFile().write(document);
    QCOMPARE(syncsToFailure, 0);
    QCOMPARE(output.text(), QByteArray());
    craneFile().write(document);
    QCOMPARE(output.text(), QByteArray("crane.txt配置文件写入[1]\n"));
}

void TestStateFile::onlyItsOwnLeftoverIsRemoved()
{
    const QStringList others{name, QStringLiteral("crane.txt.XyZ123"),
                             QStringLiteral("crane.txt.backup"), QStringLiteral("jib.txt")};
    for (const QString &other : others)
        WorkingDirectory::write(other, "[1]");
    // A link there is removed as well, and nothing is written through it.
    QVERIFY(QFile::link(QStringLiteral("jib.txt"), name + QStringLiteral(".anticollisiond-new")));
    OutputCapture output;
    QTest::ignoreMessage(QtCriticalMsg, failure);
    craneFile().write(QJsonDocument(QJsonArray{2}));
    StateFile(name).readRecords(); // by another process: leaves it, and says nothing
    QCOMPARE(QDir().entryList(QDir::Files).size(), others.size() + 1);
    QCOMPARE(output.text(), QByteArray());
    craneFile().readRecords();
    QCOMPARE(QDir().entryList(QDir::Files, QDir::Name), others);
    craneFile().write(QJsonDocument(QJsonArray{2}));
    QCOMPARE(WorkingDirectory::read(name), QByteArray("[2]"));
    QCOMPARE(WorkingDirectory::read(QStringLiteral("jib.txt")), QByteArray("[1]"));
}

void TestStateFile::refusedReplacementKeepsTheOldFile()
{
    WorkingDirectory::write(name, "[2]");
    QVERIFY(QFile::setPermissions(name, QFile::ReadOwner | QFile::ReadOther));
    OutputCapture output;
    QTest::ignoreMessage(QtCriticalMsg, failure);
    {
        const OrdinaryUser user(0777);
        craneFile().write(QJsonDocument(QJsonArray{1}));
    }
    QCOMPARE(WorkingDirectory::read(name), QByteArray("[2]"));
    QCOMPARE(output.text(), QByteArray());
}

void TestStateFile::fullDiskKeepsTheOldFile_data()
{
    QTest::addColumn<int>("folder"); // its permissions
    QTest::newRow("replaced by a new file") << 0777;
    QTest::newRow("written in place") << 0555;
}

void TestStateFile::fullDiskKeepsTheOldFile()
{
    QFETCH(int, folder);
    WorkingDirectory::write(name, "[2]");
    ::chmod(qPrintable(name), 0666);
    OutputCapture output;
    QTest::ignoreMessage(QtCriticalMsg, failure);
    {
        const OrdinaryUser user(static_cast<mode_t>(folder));
        const FullDisk disk(4);
        craneFile().write(QJsonDocument(QJsonArray{1, 2, 3}));
    }
    QCOMPARE(WorkingDirectory::read(name), QByteArray("[2]"));
    QCOMPARE(QDir().entryList(QDir::Files), QStringList{name});
    QVERIFY(!output.text().contains("写入"));
}

QTEST_GUILESS_MAIN(TestStateFile)
#include "tst_statefile.moc"
