// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include <array>

#include "app/Identifiers.h"
#include "app/StatusMenu.h"
#include "platform/StatusItem.h"
#include "platform/Turns.h"
#include "support/Log.h"

namespace quillfen::app {

using platform::MenuItem;
using platform::Task;

namespace {

/// What a chosen row does; a row whose action is not here cannot be chosen.
struct Command {
    std::string_view action;
    void (AppController::*perform)();
};

constexpr std::array kCommands{
    Command{.action = kSelItemOpenConsoleLog, .perform = &AppController::selItemOpenConsoleLog},
    Command{.action = kSelItemQuit, .perform = &AppController::selItemQuit},
};

const Command *commandOf(const MenuItem &item)
{
    const auto *found = std::ranges::find(kCommands, item.action, &Command::action);
    return found == kCommands.end() ? nullptr : found;
}

} // namespace

void AppController::buildMenu()
{
    m_menu = std::make_shared<platform::Menu>(*this, statusMenuItems(m_addresses));
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

void AppController::menuNeedsUpdate(platform::Menu & /*menu*/, std::function<void()> done)
{
    m_turns.take(refreshOpeningMenu(std::move(done)));
}

Task<> AppController::refreshOpeningMenu(std::function<void()> done)
{
    co_await refresh(true);
    done();
}

void AppController::sendAction(const MenuItem &item)
{
    if (const Command *command = commandOf(item))
        (this->*command->perform)();
}

void AppController::selItemOpenConsoleLog()
{
    m_log.ShowPrivateLogInViewer(m_platform.workspace);
}

void AppController::selItemQuit()
{
    m_terminate();
}

void AppController::setTitleOfDNSNameRow(const QString &title)
{
    if (m_menu)
        m_menu->setTitle(kDNSNameRow, title);
}

} // namespace quillfen::app
