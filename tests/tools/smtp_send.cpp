// SPDX-License-Identifier: GPL-3.0-or-later
//
// Sends one mail with the program's own SMTP client, to try a server by hand or from a test.
//
// It is told what to do by the environment:
//
//   SMTP_HOST, SMTP_PORT   the server
//   SMTP_TLS               none, starttls or implicit
//   SMTP_AUTH              - for no login, PLAIN or LOGIN
//   SMTP_USER, SMTP_PASS   who logs in
//   SMTP_CA                a PEM file with certificates to trust besides the system's
//   SMTP_FROM, SMTP_TO     addresses; several recipients are separated by the byte 0x1E
//   SMTP_SUBJECT, SMTP_BODY_FILE
//   SMTP_TIMEOUT           seconds that a stage may take
//
// and prints each call of the client to its delegate on a line of its own as it comes, where there
// is a TEXT behind it: connectionEstablished, serviceInitialized, authenticationCompleted,
// authenticationFailed TEXT, messageSent TEXT, messageNotSent TEXT, connectionTerminated,
// connectionLost TEXT, connectionTimedOut TEXT; or "error TEXT" for what these have no name for.
// It ends with the session: with 0 if the message was sent, else with 1.
#include "mail/CWSMTP.h"
#include "mail/CWSMTPDelegate.h"
#include "mail/MailRoom.h"
#include "mail/PlainText.h"
#include "platform/linux/desktop/StderrConsole.h"
#include "platform/linux/desktop/SystemNameLookup.h"
#include "platform/linux/desktop/SystemTlsTrust.h"
#include "support/Console.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>
#include <QSysInfo>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>

using namespace Qt::StringLiterals;
using namespace quillfen;
using mail::CWNotification;
using mail::CWSMTP;

namespace {

void print(const QString &line)
{
    const QByteArray utf8 = mail::plainLine(line).toUtf8();
    std::printf("%s\n", utf8.constData());
    std::fflush(stdout);
}

enum class Tls { None, StartTls, Implicit };

std::optional<Tls> tlsOf(const QString &word)
{
    if (word == "none"_L1)
        return Tls::None;
    if (word == "starttls"_L1)
        return Tls::StartTls;
    return word == "implicit"_L1 ? std::optional(Tls::Implicit) : std::nullopt;
}

/// What the environment asks for.
struct Order {
    QString host;
    std::int16_t port = 0;
    Tls tls = Tls::None;
    QString mechanism; ///< Empty: no login.
    QString userName;
    QString password;
    mail::CWMessage message;
    mail::SmtpPatience patience;
};

std::optional<QByteArray> contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

mail::CWMessage messageOf(const QByteArray &content)
{
    mail::CWMessage message;
    message.setSubject(qEnvironmentVariable("SMTP_SUBJECT"));
    message.setFrom(mail::CWInternetAddress::initWithString(qEnvironmentVariable("SMTP_FROM")));
    const QString recipients = qEnvironmentVariable("SMTP_TO");
    for (const QString &recipient : recipients.split(QChar(0x1E))) {
        mail::CWInternetAddress to = mail::CWInternetAddress::initWithString(recipient);
        to.setType(mail::CWInternetAddress::Type::To);
        message.addRecipient(to);
    }
    message.setContent(content);
    return message;
}

/// Reads the environment. Nothing, and a line that says why, where it makes no sense.
std::optional<Order> orderOfEnvironment()
{
    bool isPort = false;
    const auto port = qEnvironmentVariable("SMTP_PORT").toUShort(&isPort);
    const auto tls = tlsOf(qEnvironmentVariable("SMTP_TLS", u"starttls"_s));
    const auto content = contentOf(qEnvironmentVariable("SMTP_BODY_FILE"));
    if (!isPort || !tls || !content) {
        print(u"error "_s
              + (!isPort    ? u"SMTP_PORT is no port number"_s
                     : !tls ? u"SMTP_TLS is none of none, starttls, implicit"_s
                            : u"SMTP_BODY_FILE cannot be read"_s));
        return {};
    }
    const QString mechanism = qEnvironmentVariable("SMTP_AUTH", u"-"_s);
    Order order{.host = qEnvironmentVariable("SMTP_HOST"),
                .port = static_cast<std::int16_t>(port),
                .tls = *tls,
                .mechanism = mechanism == "-"_L1 ? QString() : mechanism,
                .userName = qEnvironmentVariable("SMTP_USER"),
                .password = qEnvironmentVariable("SMTP_PASS"),
                .message = messageOf(*content),
                .patience = {}};
    if (const int timeout = qEnvironmentVariableIntValue("SMTP_TIMEOUT"); timeout > 0) {
        const std::chrono::seconds stage(timeout);
        order.patience.connect = stage;
        order.patience.reply = stage;
        order.patience.delivery = stage;
        order.patience.rest = stage;
    }
    return order;
}

/// Carries the order out as the program's notifier does, and prints instead of logging.
class Sender : public mail::CWSMTPDelegate {
public:
    explicit Sender(const Order &order) : m_order(order) { }

    bool sent() const { return m_sent; }

    void connectionEstablished(const CWNotification &from) override
    {
        print(u"connectionEstablished"_s);
        if (m_order.tls == Tls::Implicit)
            from.object.connection().startSSL();
    }
    void serviceInitialized(const CWNotification &from) override
    {
        print(u"serviceInitialized"_s);
        if (m_order.tls == Tls::StartTls && !from.object.connection().isSSL())
            from.object.startTLS();
        else if (m_order.mechanism.isEmpty())
            from.object.sendMessage();
        else
            from.object.authenticate(m_order.userName, m_order.password,
                                     m_order.mechanism.toUtf8());
    }
    void authenticationCompleted(const CWNotification &from) override
    {
        print(u"authenticationCompleted"_s);
        from.object.sendMessage();
    }
    void authenticationFailed(const CWNotification &from) override
    {
        print(u"authenticationFailed "_s + from.object.explanation());
        from.object.close();
    }
    void messageSent(const CWNotification &from) override
    {
        m_sent = true;
        print(u"messageSent "_s + QString::fromUtf8(from.object.lastResponse()));
        from.object.close();
    }
    void messageNotSent(const CWNotification &from) override
    {
        print(u"messageNotSent "_s + from.object.explanation());
        from.object.close();
    }
    void connectionLost(const CWNotification &from) override
    {
        print(u"connectionLost "_s + from.object.explanation());
        QCoreApplication::quit();
    }
    void connectionTimedOut(const CWNotification &from) override
    {
        print(u"connectionTimedOut "_s + from.object.explanation());
        QCoreApplication::quit();
    }
    void connectionTerminated(const CWNotification &) override
    {
        print(u"connectionTerminated"_s);
        QCoreApplication::quit();
    }

private:
    const Order &m_order;
    bool m_sent = false;
};

} // namespace

int main(int argc, char **argv)
{
    platform::StderrConsole stderrConsole;
    const QCoreApplication application(argc, argv);
    const std::optional<Order> order = orderOfEnvironment();
    if (!order)
        return EXIT_FAILURE;

    support::Console console(stderrConsole);
    platform::SystemNameLookup names;
    platform::SystemTlsTrust trust(stderrConsole, qEnvironmentVariable("SMTP_CA"));
    mail::MailRoom room{.names = names,
                        .console = console,
                        .tls = mail::TlsPolicy(trust),
                        .hostName = QSysInfo::machineHostName(),
                        .patience = order->patience,
                        .gate = {}};
    const auto opening = order->tls == Tls::Implicit ? mail::SmtpConnection::Opening::Tls
                                                     : mail::SmtpConnection::Opening::Clear;
    Sender sender(*order);
    CWSMTP client(order->host, order->port, opening, room);
    client.setDelegate(&sender);
    client.setMessage(order->message);
    client.connectInBackgroundAndNotify();
    QCoreApplication::exec();
    return sender.sent() ? EXIT_SUCCESS : EXIT_FAILURE;
}
