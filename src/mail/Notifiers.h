// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace quillfen::platform {
class Host;
class NameLookup;
class Preferences;
class TlsTrust;
} // namespace quillfen::platform

namespace quillfen::support {
class Console;
class Log;
} // namespace quillfen::support

namespace quillfen::mail {

class CWSMTP;
class SSMTP;
struct MailRoom;

/// So many mails are put on their way in one go; then the event loop comes in between.
inline constexpr int kMailsAtATime = 10;

/// Where the program's notifiers come from, and where they live.
///
/// A notifier is made for one mail and never given back: it stays here as long as this does. So
/// this lives until the program's end, and its own end takes every mail down that is still under
/// way: no callback comes afterwards, nothing is waited for, nothing is logged.
///
///     notifiers.create().sendMessage(address, oldAddress, recipient, format);
class Notifiers {
public:
    /// All of them must outlive this. @p onRest is called each time that the last session of those
    /// under way is over and gone.
    Notifiers(
        support::Log &log, support::Console &console, platform::Preferences &preferences,
        platform::Host &host, platform::NameLookup &names, platform::TlsTrust &trust,
        std::function<void()> onRest = [] {});
    ~Notifiers();
    Notifiers(const Notifiers &) = delete;
    Notifiers &operator=(const Notifiers &) = delete;

    /// A notifier for one mail to one recipient.
    SSMTP &create();

private:
    MailRoom &room();
    std::unique_ptr<CWSMTP> makeClient(const QString &name, std::int16_t port);

    support::Log &m_log;
    support::Console &m_console;
    platform::Preferences &m_preferences;
    platform::Host &m_host;
    platform::NameLookup &m_names;
    platform::TlsTrust &m_trust;
    std::function<void()> m_onRest;
    int m_sessions = 0; ///< Under way.
    std::unique_ptr<MailRoom> m_room; ///< Null until the first mail.
    std::vector<std::unique_ptr<SSMTP>> m_notifiers;
};

} // namespace quillfen::mail
