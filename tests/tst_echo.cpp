#include <QtTest>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

#include "state/echo.h"

namespace
{

constexpr int lineSize = 20000; // several times what the pipe takes at once

/// Standard output is a small non-blocking pipe, as the crane's is, while the object lives.
class OutputPipe
{
public:
    OutputPipe() : m_saved(::dup(STDOUT_FILENO))
    {
        int ends[2] = {-1, -1};
        if (::pipe(ends) != 0)
            qFatal("no pipe");
        ::fcntl(ends[1], F_SETPIPE_SZ, 4096);
        ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[1]);
        m_reader = ends[0];
    }
    ~OutputPipe()
    {
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        ::close(m_reader);
    }
    OutputPipe(const OutputPipe &) = delete;
    OutputPipe &operator=(const OutputPipe &) = delete;

    /// What comes until \a size bytes are together.
    QByteArray take(int size)
    {
        QByteArray bytes;
        char piece[4096];
        while (bytes.size() < size)
            bytes.append(piece, static_cast<int>(::read(m_reader, piece, sizeof piece)));
        return bytes;
    }

private:
    const int m_saved;
    int m_reader = -1;
};

} // namespace

class TestEcho : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void linesThatDoNotFitNeitherMixNorJoin();
};

/// The reader comes only after the first line has been given up. Each line is of one letter.
void TestEcho::linesThatDoNotFitNeitherMixNorJoin()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::atomic<bool> hasGivenUp{false};
    std::atomic<bool> isOver{false};
    QByteArray output;
    {
        const auto repeat = [&](char longLine, char shortLine) {
            while (!isOver) {
                echo(QByteArray(lineSize, longLine));
                hasGivenUp = true;
                echo(QByteArray(10, shortLine)); // once taken, the reader is waited for again
            }
        };
        OutputPipe pipe;
        std::thread one(repeat, 'A', 'a');
        std::thread other(repeat, 'B', 'b');
        while (!hasGivenUp)
            QTest::qSleep(10);
        output = pipe.take(100 * lineSize);
        isOver = true;
        one.join();
        other.join();
    }
    const QByteArrayList lines = output.split('\n');
    QVERIFY(lines.first().size() < lineSize);
    for (const QByteArray &line : lines)
        QVERIFY2(line.size() <= lineSize &&
                     line == QByteArray(line).fill(line.isEmpty() ? ' ' : line.at(0)),
                 line.left(100).constData());
}

QTEST_GUILESS_MAIN(TestEcho)
#include "tst_echo.moc"
