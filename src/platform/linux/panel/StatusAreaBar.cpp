// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/StatusAreaBar.h"

#include "platform/linux/bus/BusReturn.h"
#include "platform/linux/panel/StatusNotifierItem.h"
#include "platform/linux/panel/WatcherPresence.h"
#include "platform/linux/panel/XEmbedItem.h"

#include <QGuiApplication>
#include <QObject>

#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// One item for whoever sets it, and two for the desktop, one of which is to be seen.
class EitherItem final : public StatusItem {
public:
    EitherItem(SystemConsole &console, std::optional<QDBusConnection> bus,
               const BusReturn &busReturn)
        : m_onBus(console),
          m_watcher(std::move(bus))
    {
        QObject::connect(&m_watcher, &WatcherPresence::appeared, &m_inTray, &XEmbedItem::disappear);
        QObject::connect(&m_watcher, &WatcherPresence::disappeared, &m_inTray, &XEmbedItem::appear);
        QObject::connect(&busReturn, &BusReturn::returned, &m_onBus,
                         &StatusNotifierItem::appearAnew);
        QObject::connect(&busReturn, &BusReturn::returned, &m_watcher, &WatcherPresence::moveTo);
        m_watcher.start();
    }

    void setTitle(const QString &title) override
    {
        m_onBus.setTitle(title);
        m_inTray.setTitle(title);
    }
    QString title() const override { return m_onBus.title(); }
    void setImage(const std::optional<QString> &name) override
    {
        m_onBus.setImage(name);
        m_inTray.setImage(name);
    }
    std::optional<QString> image() const override { return m_onBus.image(); }
    void setMenu(std::shared_ptr<Menu> menu) override
    {
        m_onBus.setMenu(menu);
        m_inTray.setMenu(std::move(menu));
    }
    void displayIfNeeded() override
    {
        m_onBus.displayIfNeeded();
        m_inTray.displayIfNeeded();
    }

private:
    StatusNotifierItem m_onBus;
    XEmbedItem m_inTray;
    WatcherPresence m_watcher;
};

/// One that is never to be seen.
class UnseenItem final : public StatusItem {
public:
    void setTitle(const QString &title) override { m_title = title; }
    QString title() const override { return m_title; }
    void setImage(const std::optional<QString> &name) override { m_image = name; }
    std::optional<QString> image() const override { return m_image; }
    void setMenu(std::shared_ptr<Menu> /*menu*/) override { }
    void displayIfNeeded() override { }

private:
    QString m_title;
    std::optional<QString> m_image;
};

} // namespace

StatusAreaBar::StatusAreaBar(SystemConsole &console, std::optional<QDBusConnection> bus,
                             const BusReturn &busReturn)
    : m_console(console),
      m_bus(std::move(bus)),
      m_busReturn(busReturn)
{ }

std::unique_ptr<StatusItem> StatusAreaBar::statusItemWithLength(double)
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return std::make_unique<UnseenItem>();
    if (QGuiApplication::platformName() == u"xcb")
        return std::make_unique<EitherItem>(m_console, m_bus, m_busReturn);
    auto item = std::make_unique<StatusNotifierItem>(m_console);
    QObject::connect(&m_busReturn, &BusReturn::returned, item.get(),
                     &StatusNotifierItem::appearAnew);
    return item;
}

} // namespace quillfen::platform
