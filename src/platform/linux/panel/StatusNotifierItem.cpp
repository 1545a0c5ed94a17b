// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/StatusNotifierItem.h"

#include "platform/SystemConsole.h"
#include "platform/linux/bus/BusKnock.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/panel/DBusMenu.h"
#include "platform/linux/panel/OwnConnection.h"
#include "platform/linux/panel/WatcherRegistration.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Below this path Cinnamon opens an item's menu on a left click.
QString itemPath()
{
    return u"/org/ayatana/NotificationItem/quillfen"_s;
}

QString menuPath()
{
    return itemPath() + u"/Menu"_s;
}

} // namespace

/// The item as the panels know it, which are told by its connection which one it is.
struct StatusNotifierItem::Presence {
    Presence(const QByteArray &addresses, PanelFace face)
        : bus(addresses),
          item(bus.get(), itemPath(), menuPath(), std::move(face))
    {
        QDBusConnection connection = bus.get();
        if (connection.isConnected()) {
            connection.registerVirtualObject(itemPath(), &item);
            connection.registerVirtualObject(menuPath(), &menu);
        }
        QObject::connect(&registration, &WatcherRegistration::panelChanged, &menu,
                         &DBusMenu::panelChanged);
        QObject::connect(&item, &ItemObject::activationTokenProvided, &menu,
                         &DBusMenu::useActivationToken);
        QObject::connect(&menu, &DBusMenu::tokenTried, &item, &ItemObject::answerToken);
    }

    OwnConnection bus;
    ItemObject item;
    DBusMenu menu{bus.get(), menuPath()};
    WatcherRegistration registration{bus.get(), itemPath()};
};

StatusNotifierItem::StatusNotifierItem(SystemConsole &console) : m_console(console)
{
    queueFlush();
}

StatusNotifierItem::~StatusNotifierItem() = default;

void StatusNotifierItem::setTitle(const QString &title)
{
    m_title = title;
    queueFlush();
}

void StatusNotifierItem::setImage(const std::optional<QString> &name)
{
    m_image = name;
    queueFlush();
}

void StatusNotifierItem::setMenu(std::shared_ptr<Menu> menu)
{
    m_menu = std::move(menu);
    if (m_presence)
        m_presence->menu.install(m_menu);
}

void StatusNotifierItem::displayIfNeeded()
{
    if (m_presence)
        flush();
}

void StatusNotifierItem::appearAnew()
{
    if (m_knock || (m_presence && m_presence->bus.get().isConnected()))
        return;
    m_presence.reset();
    queueFlush();
}

void StatusNotifierItem::queueFlush()
{
    if (!std::exchange(m_flushQueued, true))
        QMetaObject::invokeMethod(this, &StatusNotifierItem::flush, Qt::QueuedConnection);
}

void StatusNotifierItem::flush()
{
    if (!std::exchange(m_flushQueued, false))
        return; // shown meanwhile
    PanelFace face = panelFace(m_title, m_image);
    // MATE's notification area can learn of a label, but not that there is none any more: it
    // then shows neither text nor image. So without its label it is another item.
    const bool losesLabel = m_presence && m_presence->item.hasLabel() && face.label.isEmpty();
    if (!m_presence || losesLabel) {
        knock();
        return;
    }
    m_knock.reset(); // the label is back, and the item that has it is still there
    m_presence->item.show(std::move(face));
}

void StatusNotifierItem::knock()
{
    if (m_knock)
        return;
    m_knock = std::make_unique<BusKnock>(sessionBusAddress());
    const auto giveUp = [this] {
        m_knock.release()->deleteLater();
        sayOnce(u"there is no session bus"_s);
    };
    QObject::connect(m_knock.get(), &BusKnock::answered, this, &StatusNotifierItem::appear);
    QObject::connect(m_knock.get(), &BusKnock::absent, this, giveUp);
    QObject::connect(m_knock.get(), &BusKnock::silent, this,
                     [this] { sayOnce(u"the session bus does not answer"_s); });
    m_knock->start();
}

void StatusNotifierItem::appear()
{
    m_knock.release()->deleteLater(); // it is what calls us
    m_presence = std::make_unique<Presence>(sessionBusAddress(), panelFace(m_title, m_image));
    m_presence->menu.install(m_menu);
    QObject::connect(&m_presence->registration, &WatcherRegistration::waiting, this,
                     &StatusNotifierItem::sayOnce);
    m_presence->registration.start();
}

void StatusNotifierItem::sayOnce(const QString &reason)
{
    if (!std::exchange(m_said, true))
        m_console.write(
            u"No panel shows the address yet: %1. It appears with the first that does."_s.arg(
                reason));
}

} // namespace quillfen::platform
