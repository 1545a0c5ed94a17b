// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include "app/Identifiers.h"
#include "app/StatusMenu.h"
#include "platform/Host.h"
#include "platform/Preferences.h"
#include "platform/StatusItem.h"
#include "platform/Turns.h"
#include "prefs/QuillfenPrefPane.h"
#include "support/FormatText.h"
#include "support/Log.h"
#include "support/SettingsReading.h"

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::Menu;
using platform::Task;
using support::formatText;

void AppController::buildMenu()
{
    m_menu = std::make_shared<Menu>(*this, statusMenuItems(m_addresses));
    m_item->setMenu(m_menu);
    if (m_settings.titleIconOnly())
        m_item->setImage(kSmallImage);
    else
        m_item->setImage(std::nullopt);
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

QString AppController::shownTitle() const
{
    return m_item->title();
}

QWidget &AppController::preferencesWindow()
{
    return m_prefController->window();
}

} // namespace quillfen::app
