#include <QtTest>

#include <QTextCodec>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/fulldisk.h"
#include "app/loghandler.h"
#include "tests/outputcapture.h"
#include "tests/workingdirectory.h"

namespace
{

const QString usualPattern = QStringLiteral("%{if-category}%{category}: %{endif}%{message}");

QString today()
{
    return QStringLiteral("log/") + QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd")) +
           QStringLiteral(".txt");
}

} // namespace

class TestLogHandler : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_folder.reset(new WorkingDirectory); }
    void cleanup() { m_folder.reset(); }
    void lineLayout_data();
    void lineLayout();
    void linesAreAppended();
    void lineThatDoesNotFitIsMissing();
    void pipeInTheDayFilesPlaceIsLeftAlone();
    void passedOnAsByTheFramework_data();
    void passedOnAsByTheFramework();
    void missingFolderIsNotCreated();
    void oldFilesAreRemoved_data();
    void oldFilesAreRemoved();
    void onlyTextFilesAreRemoved();

private:
    QScopedPointer<WorkingDirectory> m_folder;
};

void TestLogHandler::lineLayout_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("rest");
    QTest::newRow("debug") << 0 << QStringLiteral(" [Debug]  <0>: x 开\r\n");
    QTest::newRow("warning") << 1 << QStringLiteral(" [Warning]  <0>: x 开\r\n");
    QTest::newRow("critical") << 2 << QStringLiteral(" [Critical]  <0>: x 开\r\n");
    QTest::newRow("fatal") << 3 << QStringLiteral(" [Fatal]  <0>: x 开\r\n");
    QTest::newRow("info") << 4 << QStringLiteral(" [Info]  <0>: x 开\r\n");
    QTest::newRow("unknown") << 7 << QStringLiteral(" [Trace]  <0>: x 开\r\n");
}

void TestLogHandler::lineLayout()
{
    QFETCH(int, type);
    QDir().mkdir(QStringLiteral("log"));
    const QString file = today();
    customMessageHandler(static_cast<QtMsgType>(type), QMessageLogContext(),
                         QStringLiteral("x 开"));
    const QString line = QString::fromLocal8Bit(WorkingDirectory::read(file));
    QVERIFY2(
        QDateTime::fromString(line.left(23), QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")).isValid(),
        qPrintable(line));
    QTEST(line.mid(23), "rest");
}

void TestLogHandler::linesAreAppended()
{
    QDir().mkdir(QStringLiteral("log"));
    const QString file = today();
    const QMessageLogContext context("crane.cpp", 17, "f", "default");
    for (const QString &text : {QStringLiteral("one"), QStringLiteral("%1 two")})
        customMessageHandler(QtDebugMsg, context, text);
    const QByteArray bytes = WorkingDirectory::read(file);
    QCOMPARE(bytes.count("\r\n"), 2);
    QVERIFY(bytes.contains(" [Debug]  crane.cpp<17>: one\r\n"));
    QVERIFY(bytes.endsWith(" [Debug]  crane.cpp<17>: %1 two\r\n"));
}

void TestLogHandler::lineThatDoesNotFitIsMissing()
{
    QDir().mkdir(QStringLiteral("log"));
    const QString file = today();
    const QMessageLogContext context;
    customMessageHandler(QtDebugMsg, context, QStringLiteral("one"));
    const QByteArray first = WorkingDirectory::read(file);
    {
        const FullDisk disk(static_cast<rlim_t>(first.size()) + 5);
        customMessageHandler(QtDebugMsg, context, QStringLiteral("two"));
    }
    QCOMPARE(WorkingDirectory::read(file), first);
    customMessageHandler(QtDebugMsg, context, QStringLiteral("three"));
    QVERIFY(WorkingDirectory::read(file).endsWith(" [Debug]  <0>: three\r\n"));
}

/// Neither without a reader, which opening it would wait for, nor with one.
void TestLogHandler::pipeInTheDayFilesPlaceIsLeftAlone()
{
    QDir().mkdir(QStringLiteral("log"));
    const QByteArray path = QFile::encodeName(today());
    QCOMPARE(::mkfifo(path.constData(), 0600), 0);
    customMessageHandler(QtDebugMsg, QMessageLogContext(), QStringLiteral("lost"));
    const int reader = ::open(path.constData(), O_RDONLY | O_NONBLOCK);
    customMessageHandler(QtDebugMsg, QMessageLogContext(), QStringLiteral("lost"));
    char byte = 0;
    const ssize_t taken = ::read(reader, &byte, 1);
    ::close(reader);
    QCOMPARE(taken, ssize_t(0));
}

void TestLogHandler::passedOnAsByTheFramework_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("message");
    QTest::newRow("usual") << usualPattern << QStringLiteral("回转到回转 9.5");
    QTest::newRow("empty") << usualPattern << QString();
    QTest::newRow("of two lines") << usualPattern << QStringLiteral("one\ntwo");
    QTest::newRow("with a NUL") << usualPattern
                                << QStringLiteral("one") + QChar() + QStringLiteral("two");
    QTest::newRow("long") << usualPattern << QString(200000, QLatin1Char('x'));
    QTest::newRow("a pattern of one's own")
        << QStringLiteral("[%{type}] <%{message}>") << QStringLiteral("x");
    QTest::newRow("of other levels only")
        << QStringLiteral("%{if-fatal}%{message}%{endif}") << QStringLiteral("x");
}

void TestLogHandler::passedOnAsByTheFramework()
{
    QFETCH(QString, pattern);
    QFETCH(QString, message);
    qSetMessagePattern(pattern);
    const QtMessageHandler ofTheTest = qInstallMessageHandler(nullptr);
    QByteArray written[2];
    for (QByteArray &bytes : written) {
        OutputCapture standardError(STDERR_FILENO);
        QMessageLogger(nullptr, 0, nullptr, "crane").warning().noquote() << message;
        QMessageLogger().debug().noquote() << message;
        bytes = standardError.text();
        installLogHandler();
    }
    qInstallMessageHandler(ofTheTest);
    qSetMessagePattern(usualPattern);
    QCOMPARE(written[1], written[0]);
    QCOMPARE(written[0].isEmpty(), pattern.startsWith(QLatin1String("%{if-fatal}")));
}

void TestLogHandler::missingFolderIsNotCreated()
{
    customMessageHandler(QtDebugMsg, QMessageLogContext(), QStringLiteral("lost"));
    QVERIFY(!QFile::exists(QStringLiteral("log")));
}

void TestLogHandler::oldFilesAreRemoved_data()
{
    QTest::addColumn<int>("ageSeconds");
    QTest::addColumn<bool>("isKept");
    QTest::newRow("new") << 0 << true;
    QTest::newRow("a minute short of seven days") << 7 * 86400 - 60 << true;
    QTest::newRow("a minute past seven days") << 7 * 86400 + 60 << false;
}

void TestLogHandler::oldFilesAreRemoved()
{
    QFETCH(int, ageSeconds);
    QFETCH(bool, isKept);
    QDir().mkdir(QStringLiteral("log"));
    const QString name = QStringLiteral("log/2020-01-01.txt"); // the name does not count
    WorkingDirectory::write(name, "x");
    const QDateTime created = QDateTime::currentDateTime();
    if (!isKept)
        QTest::ignoreMessage(QtDebugMsg, "Removed file:  \"2020-01-01.txt\"");
    pruneLogs(created.addDays(ageSeconds / 86400).addSecs(ageSeconds % 86400));
    QCOMPARE(QFile::exists(name), isKept);
}

void TestLogHandler::onlyTextFilesAreRemoved()
{
    QDir().mkpath(QStringLiteral("log/folder.txt"));
    WorkingDirectory::write(QStringLiteral("log/notes.md"), "x");
    WorkingDirectory::write(QStringLiteral("log/NOTES.TXT"), "x");
    WorkingDirectory::write(QStringLiteral("other.txt"), "x");
    pruneLogs(QDateTime::currentDateTime().addDays(30));
    QVERIFY(QFile::exists(QStringLiteral("log/folder.txt")));
    QVERIFY(QFile::exists(QStringLiteral("log/notes.md")));
    QVERIFY(QFile::exists(QStringLiteral("log/NOTES.TXT")));
    QVERIFY(QFile::exists(QStringLiteral("other.txt")));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); // whatever the machine has
    TestLogHandler test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_loghandler.moc"
