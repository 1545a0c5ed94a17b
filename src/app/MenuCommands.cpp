// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MenuCommands.h"

#include "app/Identifiers.h"
#include "app/StatusMenu.h"
#include "platform/AboutPanel.h"
#include "platform/Pasteboard.h"
#include "platform/Platform.h"
#include "platform/Turns.h"
#include "platform/Workspace.h"
#include "prefs/WindowOrder.h"
#include "support/Log.h"

#include <QUrl>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::MenuItem;

namespace {

/// What a chosen row does; a row whose action is not here cannot be chosen.
struct Command {
    std::string_view action;
    void (MenuCommands::*perform)(const MenuItem &sender);
};

constexpr std::array kCommands{
    Command{kGoToMAS, &MenuCommands::goToMAS},
    Command{kGoToWebsite, &MenuCommands::goToWebsite},
    Command{kSelItemCopyDNSName, &MenuCommands::selItemCopyDNSName},
    Command{kSelItemCopyExternalDNSName, &MenuCommands::selItemCopyExternalDNSName},
    Command{kSelItemCopyAddress, &MenuCommands::selItemCopyAddress},
    Command{kSelItemCopyExternalAddress, &MenuCommands::selItemCopyExternalAddress},
    Command{kSelItemCopySelectedAddress, &MenuCommands::selItemCopySelectedAddress},
    Command{kSelItemAbout, &MenuCommands::selItemAbout},
    Command{kSelItemQuit, &MenuCommands::selItemQuit},
    Command{kSelItemPreferences, &MenuCommands::selItemPreferences},
    Command{kSelItemOpenConsoleLog, &MenuCommands::selItemOpenConsoleLog},
};

const Command *commandOf(const MenuItem &item)
{
    const auto *found = std::ranges::find(kCommands, item.action, &Command::action);
    return found == kCommands.end() ? nullptr : found;
}

} // namespace

MenuCommands::MenuCommands(const platform::Platform &platform, support::Log &log,
                           platform::Turns &turns, std::function<void()> terminate)
    : m_pasteboard(platform.pasteboard),
      m_workspace(platform.workspace),
      m_aboutPanel(platform.aboutPanel),
      m_log(log),
      m_turns(turns),
      m_terminate(std::move(terminate))
{ }

bool MenuCommands::validateMenuItem(const MenuItem &item) const
{
    return commandOf(item) != nullptr;
}

void MenuCommands::sendAction(const MenuItem &item)
{
    if (const Command *command = commandOf(item))
        (this->*command->perform)(item);
}

void MenuCommands::selItemCopyAddress(const MenuItem &)
{
    m_pasteboard.setText(shownTitle());
}

// The two name commands copy what the menu of the last build says, and that is the one for the
// next opening, not the one that the row was chosen in.

void MenuCommands::selItemCopyDNSName(const MenuItem &)
{
    copyTitleOfRow(kDNSNameRow);
}

void MenuCommands::selItemCopyExternalDNSName(const MenuItem &)
{
    copyTitleOfRow(kExternalDNSNameRow);
}

void MenuCommands::copyTitleOfRow(std::size_t row)
{
    if (const platform::Menu *menu = builtMenu())
        m_pasteboard.setText(menu->items().at(row).title);
}

void MenuCommands::selItemCopyExternalAddress(const MenuItem &)
{
    m_turns.take(copyExternalAddress());
}

platform::Task<> MenuCommands::copyExternalAddress()
{
    const std::optional<QString> address = co_await externalIP();
    if (address)
        m_pasteboard.setText(*address);
    else
        m_log.LogMessage(u"Quillfen could not obtain the external IP address for the clipboard"_s);
}

void MenuCommands::selItemCopySelectedAddress(const MenuItem &sender)
{
    // The list as it is now: it may have become shorter since the menu was built.
    const QStringList &addresses = localAddresses();
    if (sender.tag >= 0 && sender.tag < addresses.size())
        m_pasteboard.setText(addresses.at(sender.tag));
}

void MenuCommands::goToWebsite(const MenuItem &)
{
    m_workspace.openURL(QUrl(kWebsite));
}

void MenuCommands::goToMAS(const MenuItem &)
{
    m_workspace.openURL(QUrl(kStorePage));
}

void MenuCommands::selItemPreferences(const MenuItem &)
{
    showPreferences();
}

void MenuCommands::showPreferences()
{
    prefs::makeKeyAndOrderFront(preferencesWindow());
}

void MenuCommands::selItemOpenConsoleLog(const MenuItem &)
{
    m_log.ShowPrivateLogInViewer(m_workspace);
}

void MenuCommands::selItemAbout(const MenuItem &)
{
    m_aboutPanel.orderFront();
}

void MenuCommands::selItemQuit(const MenuItem &)
{
    m_terminate();
}

} // namespace quillfen::app
