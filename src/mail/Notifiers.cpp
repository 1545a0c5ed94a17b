// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/Notifiers.h"

#include "mail/CWSMTP.h"
#include "mail/MailRoom.h"
#include "mail/SSMTP.h"

#include <QSysInfo>

#include <utility>

namespace quillfen::mail {

Notifiers::Notifiers(support::Log &log, support::Console &console,
                     platform::Preferences &preferences, platform::Host &host,
                     platform::NameLookup &names, platform::TlsTrust &trust,
                     std::function<void()> onRest)
    : m_log(log),
      m_console(console),
      m_preferences(preferences),
      m_host(host),
      m_names(names),
      m_trust(trust),
      m_onRest(std::move(onRest))
{ }

Notifiers::~Notifiers()
{
    m_onRest = [] {}; // an end of all is no rest
}

MailRoom &Notifiers::room()
{
    if (!m_room) {
        m_room.reset(new MailRoom{.names = m_names,
                                  .console = m_console,
                                  .tls = TlsPolicy(m_trust),
                                  .hostName = QSysInfo::machineHostName(),
                                  .patience = {},
                                  .gate = {}});
    }
    return *m_room;
}

SSMTP &Notifiers::create()
{
    const auto maker = [this](const QString &name, std::int16_t port) {
        return makeClient(name, port);
    };
    m_notifiers.push_back(std::make_unique<SSMTP>(m_log, m_preferences, m_host, maker));
    return *m_notifiers.back();
}

std::unique_ptr<CWSMTP> Notifiers::makeClient(const QString &name, std::int16_t port)
{
    auto client = std::make_unique<CWSMTP>(name, port, room());
    ++m_sessions;
    QObject::connect(client.get(), &QObject::destroyed, [this] {
        if (--m_sessions == 0)
            m_onRest();
    });
    return client;
}

} // namespace quillfen::mail
