// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppSettings.h"
#include "platform/StatusPublication.h"
#include "platform/Task.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace quillfen::netinfo {
class ExternalAddress;
}

namespace quillfen::support {
class Log;
}

namespace quillfen::platform {
class DynamicStore;
class RunLoopSource;
class StatusItem;
struct Platform;
} // namespace quillfen::platform

namespace quillfen::app {

/// The title when the list has a first element that is no text.
inline const QString kMissingElement = QStringLiteral("???");

/// The title in the status area, and what other programs are told with it.
///
/// It is composed anew where the order of a refresh says so, and besides at once with each change
/// of the local addresses: what the user looks at waits for no name server and no turn.
class StatusTitle {
public:
    /// Of @p item, and with @p external's kept address. All of them must outlive this.
    StatusTitle(const platform::Platform &platform, support::Log &log, platform::StatusItem &item,
                const netinfo::ExternalAddress &external);
    ~StatusTitle();
    StatusTitle(const StatusTitle &) = delete;
    StatusTitle &operator=(const StatusTitle &) = delete;

    /// Shows the present addresses, and from now on each change of them: see showAhead().
    void watch();

    /// Composes and shows the title: @p title with the wanted names behind it or, with
    /// @p withIcon, an icon alone. A wireless network's name that is not known yet is looked up.
    platform::Task<> setTitle(QString title, bool withIcon);
    /// Finds the joined wireless network's name anew.
    platform::Task<> lookUpWirelessName();
    /// Shows the icon that marks a change, where it is wanted.
    void showChangeIcon();

    /// These are the local addresses now, for other programs.
    void noteAddresses(const QStringList &addresses);
    /// The DNS name of @p address, for other programs while that is the first one.
    void noteDNSName(const QString &address, const std::optional<QString> &name);
    void noteComputerName();
    /// Tells other programs what is shown and known now.
    void publish();

private:
    /// Shows @p addresses' first with the names as they are known, and logs nothing.
    void showAhead(const QStringList &addresses);
    /// Gives the item what setTitle() composes, with the names that are known already.
    void compose(const QString &title, bool withIcon);

    const platform::Platform &m_platform;
    support::Log &m_log;
    platform::StatusItem &m_item;
    const netinfo::ExternalAddress &m_external;
    AppSettings m_settings;
    /// The joined wireless network's name, or "?"; nothing until it is needed first.
    std::optional<QString> m_wirelessName;
    platform::ShownStatus m_shown; ///< For other programs.
    struct {
        QString address;
        std::optional<QString> name;
    } m_named; ///< What was asked for last.
    std::unique_ptr<platform::DynamicStore> m_store; ///< These two for showAhead() alone.
    std::unique_ptr<platform::RunLoopSource> m_source;
};

} // namespace quillfen::app
