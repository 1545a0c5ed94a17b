// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHostAddress>
#include <QList>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpServer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include <sys/socket.h>

namespace quillfen::mail {

/// A mail server on loopback that takes every mail, except where it was told to misbehave.
///
/// The stages, at each of which it can be told something, are what it hears: "connect" (before the
/// greeting), "EHLO", "HELO", "STARTTLS", "handshake", "secured" (right behind the handshake),
/// "AUTH", "answer" (a line of a login), "MAIL", "RCPT", "DATA", "." (the end of a mail) and
/// "QUIT"; "EHLO/2" is the second one of a connection.
class ScriptedServer : public QTcpServer {
public:
    /// What it does at a stage in place of the usual.
    struct Turn {
        enum class Then { Goes, Closes, Resets, KeepsSilent, DripsForEver };
        std::optional<QByteArray> answer; ///< Instead of the usual answer; with its line ends.
        Then then = Then::Goes; ///< Afterwards.
    };

    ScriptedServer() { listen(QHostAddress::LocalHost); }

    void answers(const QByteArray &stage, const QByteArray &answer)
    {
        m_turns[stage].answer = answer;
    }
    void then(const QByteArray &stage, Turn::Then what) { m_turns[stage].then = what; }
    /// From now on everything is sent one byte at a time.
    void sendsByteByByte() { m_byteByByte = true; }
    /// Takes each answer that long to come.
    void takesItsTime(std::chrono::milliseconds delay) { m_delay = delay; }
    /// How it encrypts; without one it cannot.
    void hasCertificate(const QSslConfiguration &tls) { m_tls = tls; }
    /// Knows nothing newer than TLS 1.2, where the server has the last word of the handshake.
    void speaksTls12() { m_tls->setProtocol(QSsl::TlsV1_2); }
    /// Encrypts from the first byte on.
    void encryptsAtOnce() { m_implicit = true; }
    /// What it says it can do: in clear, and over TLS.
    void offers(const QByteArrayList &clear, const QByteArrayList &encrypted)
    {
        m_offersClear = clear;
        m_offersEncrypted = encrypted;
    }

    /// The lines it heard in clear and over TLS, mails aside.
    const QByteArrayList &clearLines() const { return m_clearLines; }
    const QByteArrayList &encryptedLines() const { return m_encryptedLines; }
    /// Everything that was heard, by stages.
    const QByteArrayList &stages() const { return m_stages; }
    /// The mails, as they came, without the end mark; dots as they came.
    const QByteArrayList &mails() const { return m_mails; }
    int open() const { return m_open; }
    int mostOpen() const { return m_mostOpen; }
    bool sawItsEnd() const { return m_closed > 0; }

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    class Visit;
    friend Visit;

    std::map<QByteArray, Turn> m_turns;
    std::optional<QSslConfiguration> m_tls;
    QByteArrayList m_offersClear;
    QByteArrayList m_offersEncrypted;
    std::chrono::milliseconds m_delay{0};
    bool m_byteByByte = false;
    bool m_implicit = false;

    QByteArrayList m_clearLines;
    QByteArrayList m_encryptedLines;
    QByteArrayList m_stages;
    QByteArrayList m_mails;
    int m_open = 0;
    int m_mostOpen = 0;
    int m_closed = 0;
};

/// One connection to it.
class ScriptedServer::Visit : public QObject {
public:
    Visit(ScriptedServer &server, qintptr descriptor) : QObject(&server), m_server(server)
    {
        m_server.m_mostOpen = std::max(m_server.m_mostOpen, ++m_server.m_open);
        connect(&m_socket, &QSslSocket::readyRead, this, &Visit::hear);
        connect(&m_socket, &QSslSocket::encrypted, this, &Visit::encrypted);
        connect(&m_socket, &QSslSocket::disconnected, this, &Visit::left);
        connect(&m_dripping, &QTimer::timeout, this, [this] { m_socket.write("-"); });
        m_socket.setSocketDescriptor(descriptor);
        if (m_server.m_implicit)
            startTls();
        else
            turn("connect", "220 mail.test ESMTP\r\n");
    }
    ~Visit() override { m_socket.disconnect(this); }

private:
    void startTls()
    {
        if (!m_server.m_tls) {
            m_deaf = true;
            return;
        }
        m_socket.setSslConfiguration(*m_server.m_tls);
        m_socket.startServerEncryption();
    }
    void encrypted()
    {
        if (m_server.m_implicit)
            turn("connect", "220 mail.test ESMTP\r\n");
        else
            turn("secured", {});
        m_socket.flush();
    }
    void left()
    {
        --m_server.m_open;
        ++m_server.m_closed;
        deleteLater();
    }

    void hear()
    {
        while (m_socket.canReadLine() && !m_deaf) {
            const QByteArray line = m_socket.readLine();
            if (m_inMail)
                hearMail(line);
            else
                hearCommand(line);
        }
    }
    void hearMail(const QByteArray &line)
    {
        if (line != ".\r\n") {
            m_mail += line;
            return;
        }
        m_inMail = false;
        m_server.m_mails.append(std::exchange(m_mail, {}));
        turn(".", "250 taken\r\n");
    }
    void hearCommand(const QByteArray &line)
    {
        (m_socket.isEncrypted() ? m_server.m_encryptedLines : m_server.m_clearLines)
            .append(line.chopped(2));
        if (m_answersAwaited > 0) {
            --m_answersAwaited;
            turn("answer", m_answersAwaited > 0 ? "334 UGFzc3dvcmQ6\r\n" : "235 welcome\r\n");
            return;
        }
        const QByteArray verb = line.trimmed().split(' ').first().toUpper();
        if (verb == "EHLO")
            turn(++m_hellos == 1 ? "EHLO" : "EHLO/" + QByteArray::number(m_hellos), hello());
        else if (verb == "HELO")
            turn("HELO", "250 mail.test\r\n");
        else if (verb == "STARTTLS")
            upgrade();
        else if (verb == "AUTH")
            login(line.trimmed().split(' '));
        else if (verb == "DATA")
            m_inMail = turn("DATA", "354 go on\r\n").startsWith('3');
        else if (verb == "QUIT")
            turn("QUIT", "221 bye\r\n", Turn::Then::Closes);
        else
            turn(verb, "250 fine\r\n");
    }
    QByteArray hello() const
    {
        QByteArray lines;
        for (const QByteArray &keyword :
             m_socket.isEncrypted() ? m_server.m_offersEncrypted : m_server.m_offersClear)
            lines += "250-" + keyword + "\r\n";
        return "250-mail.test greets you\r\n" + lines + "250 HELP\r\n";
    }
    void login(const QByteArrayList &words)
    {
        if (words.size() > 2)
            turn("AUTH", "235 welcome\r\n");
        else if (turn("AUTH", "334 VXNlcm5hbWU6\r\n").startsWith("334"))
            m_answersAwaited = words.value(1) == "LOGIN" ? 2 : 1;
    }
    void upgrade()
    {
        if (turn("STARTTLS", "220 go ahead\r\n").startsWith("220"))
            inItsTime([this] { shakeHands(); });
    }
    void shakeHands()
    {
        m_server.m_stages.append("handshake");
        const auto found = m_server.m_turns.find("handshake");
        if (found == m_server.m_turns.end()) {
            startTls();
            return;
        }
        m_deaf = true; // what comes is no line
        performNow(found->second.answer.value_or(QByteArray()), found->second.then);
    }

    /// Comes to a stage. @returns what it answers there.
    QByteArray turn(const QByteArray &stage, const QByteArray &usual,
                    Turn::Then then = Turn::Then::Goes)
    {
        m_server.m_stages.append(stage);
        const auto found = m_server.m_turns.find(stage);
        if (found == m_server.m_turns.end()) {
            perform(usual, then);
            return usual;
        }
        const Turn &special = found->second;
        const bool mute = special.then != Turn::Then::Goes && !special.answer;
        const QByteArray answer = mute ? QByteArray() : special.answer.value_or(usual);
        perform(answer, special.then == Turn::Then::Goes ? then : special.then);
        return answer;
    }
    void perform(const QByteArray &answer, Turn::Then then)
    {
        inItsTime([this, answer, then] { performNow(answer, then); });
    }
    void inItsTime(const std::function<void()> &act)
    {
        if (m_server.m_delay.count() == 0)
            act();
        else
            QTimer::singleShot(m_server.m_delay, this, act);
    }
    void performNow(const QByteArray &answer, Turn::Then then)
    {
        if (m_server.m_byteByByte) {
            for (const char byte : answer) {
                m_socket.write(&byte, 1);
                m_socket.flush();
            }
        } else {
            m_socket.write(answer);
        }
        switch (then) {
        case Turn::Then::Closes:
            m_socket.disconnectFromHost();
            return;
        case Turn::Then::Resets:
            reset();
            return;
        case Turn::Then::DripsForEver:
            m_socket.write("250");
            m_dripping.start(std::chrono::milliseconds(20));
            return;
        case Turn::Then::Goes:
        case Turn::Then::KeepsSilent:
            return;
        }
    }
    void reset()
    {
        m_socket.flush();
        const linger atOnce = {.l_onoff = 1, .l_linger = 0};
        setsockopt(static_cast<int>(m_socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
                   sizeof atOnce);
        m_socket.abort();
    }

    ScriptedServer &m_server;
    QSslSocket m_socket;
    QTimer m_dripping;
    QByteArray m_mail;
    int m_hellos = 0;
    int m_answersAwaited = 0;
    bool m_inMail = false;
    bool m_deaf = false; ///< Whether it reads nothing more.
};

inline void ScriptedServer::incomingConnection(qintptr descriptor)
{
    new Visit(*this, descriptor);
}

} // namespace quillfen::mail
