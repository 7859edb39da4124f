#include <QtTest>

#include <QRandomGenerator>

#include <algorithm>
#include <deque>

#include "cloud/sentuploads.h"

namespace
{

constexpr int most = 16384;

QByteArray payload(int number)
{
    return "{\"vicinity\":[" + QByteArray::number(number) + "]}";
}

/// The payloads themselves, compared one by one.
class PlainUploads
{
public:
    void add(const QByteArray &payload)
    {
        m_payloads.push_back(payload);
        if (m_payloads.size() > most)
            m_payloads.pop_front();
    }
    bool take(const QByteArray &payload)
    {
        const auto found = std::find(m_payloads.begin(), m_payloads.end(), payload);
        if (found == m_payloads.end())
            return false;
        m_payloads.erase(m_payloads.begin(), found + 1);
        return true;
    }
    const std::deque<QByteArray> &payloads() const { return m_payloads; }

private:
    std::deque<QByteArray> m_payloads;
};

} // namespace

class TestSentUploads : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sameAsComparingThePayloads();
    void thousandsOnTheirWay();
};

/// What comes back: the next one, one after some that the broker lost, one already forgotten, one
/// that a stranger sent. The same payload goes out more than once.
void TestSentUploads::sameAsComparingThePayloads()
{
    QRandomGenerator random(1);
    SentUploads sent;
    PlainUploads plain;
    int taken = 0;
    for (int i = 0; i < 20000; ++i) {
        if (random.bounded(5) < 3) {
            const QByteArray upload = payload(random.bounded(500));
            sent.add(upload);
            plain.add(upload);
            continue;
        }
        QByteArray back = payload(random.bounded(1000));
        if (random.bounded(4) != 0 && !plain.payloads().empty()) {
            const auto lost = std::min<size_t>(random.bounded(3), plain.payloads().size() - 1);
            back = plain.payloads()[lost];
        }
        const bool isKnown = plain.take(back);
        taken += isKnown;
        QVERIFY2(sent.take(back) == isKnown, back + " after " + QByteArray::number(i) + " steps");
    }
    QVERIFY2(taken > 1000 && taken < 10000, QByteArray::number(taken));
}

/// As in a burst of reports, and a little more than is kept.
void TestSentUploads::thousandsOnTheirWay()
{
    SentUploads sent;
    for (int i = 0; i <= most; ++i)
        sent.add(payload(i));
    QVERIFY(!sent.take(payload(0)));
    for (int i = 1; i <= most; ++i)
        QVERIFY2(sent.take(payload(i)), payload(i));
    QVERIFY(!sent.take(payload(most)));
}

QTEST_APPLESS_MAIN(TestSentUploads)
#include "tst_sentuploads.moc"
