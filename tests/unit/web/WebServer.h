// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHostAddress>
#include <QObject>
#include <QSslConfiguration>
#include <QSslServer>
#include <QString>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace quillfen::platform {

/// A web server in the test's own process that answers each path as it was told to, byte for byte.
class WebServer : public QObject {
public:
    using Answer = std::function<void(QTcpSocket &)>;

    WebServer() : WebServer(std::make_unique<QTcpServer>(), QStringLiteral("http")) { }
    /// One over TLS, which encrypts as @p tls says.
    explicit WebServer(const QSslConfiguration &tls) : WebServer(over(tls), QStringLiteral("https"))
    { }

    quint16 port() const { return m_server->serverPort(); }
    QUrl url(const QString &path, const QString &host = QStringLiteral("127.0.0.1")) const
    {
        return QUrl(QStringLiteral("%1://%2:%3%4").arg(m_scheme, host).arg(port()).arg(path));
    }

    /// From now on @p path is answered so. Any other path gets no answer.
    void answer(const QByteArray &path, Answer answer) { m_answers[path] = std::move(answer); }
    /// @p path is answered by these bytes, and the connection closed.
    void answer(const QByteArray &path, const QByteArray &bytes)
    {
        answer(path, [bytes](QTcpSocket &client) {
            client.write(bytes);
            client.disconnectFromHost();
        });
    }

    /// @p path is answered by these bytes, and it is for the client to hang up.
    void answerPatiently(const QByteArray &path, const QByteArray &bytes)
    {
        answer(path, [bytes](QTcpSocket &client) { client.write(bytes); });
    }

    /// The requests so far, each with all its fields.
    const QByteArrayList &requests() const { return m_requests; }
    /// How many connections are open.
    qsizetype openConnections() const { return m_server->findChildren<QTcpSocket *>().size(); }

private:
    WebServer(std::unique_ptr<QTcpServer> server, const QString &scheme)
        : m_server(std::move(server)),
          m_scheme(scheme)
    {
        m_server->listen(QHostAddress::LocalHost);
        connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this, [this] {
            while (QTcpSocket *client = m_server->nextPendingConnection())
                serve(*client);
        });
    }
    static std::unique_ptr<QTcpServer> over(const QSslConfiguration &tls)
    {
        auto server = std::make_unique<QSslServer>();
        server->setSslConfiguration(tls);
        return server;
    }

    void serve(QTcpSocket &client)
    {
        connect(&client, &QTcpSocket::disconnected, &client, &QObject::deleteLater);
        connect(&client, &QTcpSocket::readyRead, this, [this, &client] {
            const QByteArray request = client.peek(64 * 1024);
            if (!request.contains("\r\n\r\n"))
                return;
            client.readAll();
            m_requests.append(request);
            const auto known = m_answers.find(request.split(' ').value(1));
            if (known != m_answers.end())
                known->second(client);
        });
    }

    std::unique_ptr<QTcpServer> m_server;
    QString m_scheme;
    std::map<QByteArray, Answer> m_answers;
    QByteArrayList m_requests;
};

/// A whole answer with that status line, those fields (each with its line end) and that body.
inline QByteArray httpAnswer(const QByteArray &status, const QByteArray &fields,
                             const QByteArray &body)
{
    return "HTTP/1.1 " + status + "\r\nConnection: close\r\n" + fields + "\r\n" + body;
}

} // namespace quillfen::platform
