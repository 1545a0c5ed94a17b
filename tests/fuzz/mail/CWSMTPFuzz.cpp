// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "unit/mail/Correspondent.h"
#include "world/FakeTlsTrust.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace {

using namespace quillfen;
using namespace quillfen::mail;
using namespace Qt::StringLiterals;
using test::require;

const QByteArray kUpgrade = "STARTTLS\r\n";
const QString kPassword = u"Sesam-öffne-dich-7"_s;

/// A mail server that says one more line of its text each time that it is spoken to, and at its
/// end hangs up.
class RecitingServer : public QTcpServer {
public:
    RecitingServer()
    {
        require(listen(QHostAddress::LocalHost));
        connect(this, &QTcpServer::newConnection, this, [this] {
            m_caller.reset(nextPendingConnection());
            connect(m_caller.get(), &QTcpSocket::readyRead, this, &RecitingServer::hear);
            recite();
        });
    }
    void learns(const QByteArray &text)
    {
        m_text = text;
        m_heard.clear();
        m_caller.reset();
    }
    const QByteArray &heard() const { return m_heard; }

private:
    void hear()
    {
        m_heard += m_caller->readAll();
        recite();
    }
    /// A line whose fourth byte is a dash has a next one, as in a reply of several lines. In a
    /// handshake there are no lines.
    void recite()
    {
        bool goesOn = true;
        while (goesOn && !m_text.isEmpty()) {
            const qsizetype end = m_text.indexOf('\n');
            const QByteArray line = m_text.first(end < 0 ? m_text.size() : end + 1);
            m_text.remove(0, line.size());
            m_caller->write(line);
            goesOn = (line.size() > 3 && line[3] == '-') || m_heard.contains(kUpgrade);
        }
        if (m_text.isEmpty())
            m_caller->disconnectFromHost();
    }

    std::unique_ptr<QTcpSocket> m_caller;
    QByteArray m_text;
    QByteArray m_heard;
};

/// Everything that a session needs, and that outlives it.
struct World {
    int argc = 0;
    QCoreApplication application{argc, nullptr};
    world::FakeTlsTrust trust;
    TlsPolicy policy{trust};
    RecitingServer server;
};

void checkHeard(QByteArray heard, bool wantsTls)
{
    if (const qsizetype at = heard.indexOf(kUpgrade); at >= 0)
        heard.truncate(at + kUpgrade.size()); // behind it come the bytes of a handshake
    if (wantsTls) // which comes to nothing, as the server has no certificate
        require(!heard.contains("AUTH") && !heard.contains("MAIL"));
    for (const QByteArray &line : heard.split('\n').mid(0, heard.count('\n')))
        require(line.endsWith('\r') && line.count('\r') == 1);
}

} // namespace

/// What a mail server says in a session, behind one byte that says what we want of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static World here;
    if (size == 0)
        return 0;
    here.server.learns(QByteArray(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1)));

    Correspondent someone(here.policy);
    someone.password = kPassword;
    someone.wantsTls = (data[0] & 1) != 0;
    if ((data[0] & 2) != 0)
        someone.mechanism = (data[0] & 4) != 0 ? "LOGIN" : "PLAIN";
    someone.send(here.server.serverPort());
    while (!someone.over())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const QStringList told = someone.told();
    QCoreApplication::processEvents();
    require(someone.told() == told);

    checkHeard(here.server.heard(), someone.wantsTls);
    const QString said = someone.console.lines().join(u'\n') + someone.client().explanation()
        + QString::fromUtf8(someone.client().lastResponse());
    // Before the login no server knows it.
    require(!here.server.heard().contains("AUTH ") || !said.contains(kPassword));
    return 0;
}
