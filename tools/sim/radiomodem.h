#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <memory>

/// A radio modem that can be pulled out: the far end of a pseudo-terminal, and a link to its near
/// end in the place of the serial device.
///
/// Lives in the creating thread. Pulled out when this object ends.
class RadioModem : public QObject
{
    Q_OBJECT
public:
    /// \a link is the path that the near end gets, "/dev/ttyUSB0". Not plugged in yet.
    explicit RadioModem(const QString &link, QObject *parent = nullptr);
    ~RadioModem() override;

    /// Makes the pseudo-terminal and the link; a link that leads nowhere is replaced, anything else
    /// in its place is not. False when that is refused; problem() says why.
    bool plugIn();
    /// Removes the link and closes the far end: whoever has the near end open gets an error.
    void pull();
    bool isPluggedIn() const { return m_descriptor >= 0; }
    QString problem() const { return m_problem; }

    /// Puts the bytes on air, as far as the other end takes them within two seconds; nothing while
    /// pulled out.
    void send(const QByteArray &bytes);

    /// While stuck it takes nothing that the near end writes. Also while pulled out.
    void setStuck(bool isStuck);

Q_SIGNALS:
    /// Bytes have come from the near end.
    void heard(const QByteArray &bytes);

private:
    bool fail(const char *action);
    bool makeLink(const char *target);
    void read();
    void rest();

    const QString m_link;
    QString m_problem;
    bool m_isStuck = false;
    int m_descriptor = -1; // the far end
    std::unique_ptr<QSocketNotifier> m_notifier;
};
