#include <QtTest>

#include <atomic>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "local/localdata.h"
#include "app/supervision.h"
#include "tests/workingdirectory.h"

/// What a supervisor hears of the main loop, which is this thread, and the board's client thread.
class TestSupervision : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void signsOfLifeEndWhileAThreadIsBlocked_data();
    void signsOfLifeEndWhileAThreadIsBlocked();

private:
    /// The messages that have come since the last call.
    QByteArrayList heard() const
    {
        QByteArrayList messages;
        char bytes[100];
        ssize_t size = 0;
        while ((size = ::recv(m_socket, bytes, sizeof bytes, MSG_DONTWAIT)) > 0)
            messages.append(QByteArray(bytes, static_cast<int>(size)));
        return messages;
    }

    WorkingDirectory m_folder;
    const int m_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    LocalData *const m_board = new LocalData; // lives, like its client, until the process ends
    Supervision *m_supervision = nullptr;
    std::atomic<bool> m_isToBeBlocked{false};
};

void TestSupervision::initTestCase()
{
    QVERIFY(!Supervision::start(m_board)); // nobody supervises

    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray path = QDir::currentPath().toUtf8() + "/notify";
    QVERIFY(path.size() < int(sizeof address.sun_path));
    qstrcpy(address.sun_path, path.constData());
    QCOMPARE(::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    qputenv("NOTIFY_SOCKET", path);
    qputenv("WATCHDOG_USEC", "300000");
    connect(
        m_board, &LocalData::linkAnswered, m_board,
        [this] { // in the client's thread
            if (m_isToBeBlocked.exchange(false))
                QThread::msleep(1500);
        },
        Qt::DirectConnection);
    m_supervision = Supervision::start(m_board);
    QVERIFY(m_supervision);
    QTest::qWait(300); // the board's client thread is late
    m_board->start();
    QByteArrayList all;
    QTRY_VERIFY((all += heard()).count("WATCHDOG=1") >= 3);
    QCOMPARE(all.first(), QByteArray("READY=1"));
}

void TestSupervision::cleanupTestCase()
{
    m_supervision->quit();
    QVERIFY(m_supervision->wait(5000));
    delete m_supervision;
    m_board->stop();
    ::close(m_socket);
}

void TestSupervision::signsOfLifeEndWhileAThreadIsBlocked_data()
{
    QTest::addColumn<bool>("isMainLoop");
    QTest::newRow("the main loop") << true;
    QTest::newRow("the board's client") << false;
}

void TestSupervision::signsOfLifeEndWhileAThreadIsBlocked()
{
    QFETCH(bool, isMainLoop);
    heard(); // of before
    if (isMainLoop) {
        QThread::msleep(1500);
    } else {
        m_isToBeBlocked = true;
        QTest::qWait(1500);
    }
    const int signs = heard().size(); // every tenth of a second while neither is blocked
    QVERIFY2(signs <= 2, QByteArray::number(signs).constData());
    QByteArrayList after;
    QTRY_VERIFY(!(after += heard()).isEmpty());
}

QTEST_GUILESS_MAIN(TestSupervision)
#include "tst_supervision.moc"
