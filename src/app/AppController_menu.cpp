// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include <array>

#include "app/Identifiers.h"
#include "app/StatusMenu.h"
#include "platform/AboutPanel.h"
#include "platform/Host.h"
#include "platform/Pasteboard.h"
#include "platform/Preferences.h"
#include "platform/StatusItem.h"
#include "platform/Turns.h"
#include "platform/Workspace.h"
#include "prefs/QuillfenPrefPane.h"
#include "prefs/WindowOrder.h"
#include "support/FormatText.h"
#include "support/Log.h"
#include "support/SettingsReading.h"

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::Menu;
using platform::MenuItem;
using platform::Task;
using support::formatText;

namespace {

/// What a chosen row does; a row whose action is not here cannot be chosen.
struct Command {
    std::string_view action;
    void (AppController::*perform)(const MenuItem &sender);
};

constexpr std::array kCommands{
    Command{kGoToMAS, &AppController::goToMAS},
    Command{kGoToWebsite, &AppController::goToWebsite},
    Command{kSelItemCopyDNSName, &AppController::selItemCopyDNSName},
    Command{kSelItemCopyExternalDNSName, &AppController::selItemCopyExternalDNSName},
    Command{kSelItemCopyAddress, &AppController::selItemCopyAddress},
    Command{kSelItemCopyExternalAddress, &AppController::selItemCopyExternalAddress},
    Command{kSelItemCopySelectedAddress, &AppController::selItemCopySelectedAddress},
    Command{kSelItemAbout, &AppController::selItemAbout},
    Command{kSelItemQuit, &AppController::selItemQuit},
    Command{kSelItemPreferences, &AppController::selItemPreferences},
    Command{kSelItemOpenConsoleLog, &AppController::selItemOpenConsoleLog},
};

const Command *commandOf(const MenuItem &item)
{
    const auto *found = std::ranges::find(kCommands, item.action, &Command::action);
    return found == kCommands.end() ? nullptr : found;
}

} // namespace

void AppController::buildMenu()
{
    m_menu = std::make_shared<Menu>(*this, statusMenuItems(m_addresses));
    m_item->setMenu(m_menu);
    if (m_settings.titleIconOnly())
        m_item->setImage(kSmallImage);
    else
        m_item->setImage(std::nullopt);
}

bool AppController::validateMenuItem(const MenuItem &item) const
{
    return commandOf(item) != nullptr;
}

void AppController::menuNeedsUpdate(std::shared_ptr<Menu> menu, std::function<void()> done)
{
    m_turns.take(updateOpeningMenu(std::move(menu), std::move(done)));
}

Task<> AppController::updateOpeningMenu(std::shared_ptr<Menu> menu, std::function<void()> done)
{
    m_platform.preferences.synchronize();
    if (support::readBoolean(m_platform.preferences, support::kIncludeExternalIP))
        co_await showExternalAddress(menu);
    else
        menu->setTitle(kExternalIPRow, u"Include external IP is off"_s);
    co_await refreshNaming(menu, true);
    done();
}

Task<> AppController::showExternalAddress(std::shared_ptr<Menu> menu)
{
    const std::optional<QString> address = co_await externalIP();
    menu->setTitle(kExternalIPRow, address.value_or(kNoExternalIP));
    if (!address)
        co_return;
    const std::optional<QString> name = co_await m_platform.host.name(*address);
    if (name)
        menu->setTitle(kExternalDNSNameRow, *name);
    m_log.LogMessage(
        formatText(u"External IP address:%@ (%@)", *address, name.value_or(u"no name"_s)));
}

void AppController::sendAction(const MenuItem &item)
{
    if (const Command *command = commandOf(item))
        (this->*command->perform)(item);
}

void AppController::selItemCopyAddress(const MenuItem &)
{
    m_platform.pasteboard.setText(m_item->title());
}

// The two name commands copy what the menu of the last build says, and that is the one for the
// next opening, not the one that the row was chosen in.

void AppController::selItemCopyDNSName(const MenuItem &)
{
    copyTitleOfRow(kDNSNameRow);
}

void AppController::selItemCopyExternalDNSName(const MenuItem &)
{
    copyTitleOfRow(kExternalDNSNameRow);
}

void AppController::copyTitleOfRow(std::size_t row)
{
    if (m_menu)
        m_platform.pasteboard.setText(m_menu->items().at(row).title);
}

void AppController::selItemCopyExternalAddress(const MenuItem &)
{
    m_turns.take(copyExternalAddress());
}

Task<> AppController::copyExternalAddress()
{
    const std::optional<QString> address = co_await externalIP();
    if (address)
        m_platform.pasteboard.setText(*address);
    else
        m_log.LogMessage(u"Quillfen could not obtain the external IP address for the clipboard"_s);
}

void AppController::selItemCopySelectedAddress(const MenuItem &sender)
{
    // The list as it is now: it may have become shorter since the menu was built.
    if (sender.tag >= 0 && sender.tag < m_addresses.size())
        m_platform.pasteboard.setText(m_addresses.at(sender.tag));
}

void AppController::goToWebsite(const MenuItem &)
{
    m_platform.workspace.openURL(QUrl(kWebsite));
}

void AppController::goToMAS(const MenuItem &)
{
    m_platform.workspace.openURL(QUrl(kStorePage));
}

void AppController::selItemPreferences(const MenuItem &)
{
    showPreferences();
}

void AppController::showPreferences()
{
    prefs::makeKeyAndOrderFront(m_prefController->window());
}

void AppController::selItemOpenConsoleLog(const MenuItem &)
{
    m_log.ShowPrivateLogInViewer(m_platform.workspace);
}

void AppController::selItemAbout(const MenuItem &)
{
    m_platform.aboutPanel.orderFront();
}

void AppController::selItemQuit(const MenuItem &)
{
    m_terminate();
}

} // namespace quillfen::app
