// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusItem.h"
#include "platform/linux/panel/ItemObject.h"

#include <QObject>

#include <memory>

namespace quillfen::platform {

/// A status item in an X11 tray of the old kind, which takes small windows into itself: an icon
/// with a tool tip, as there is no room for a text. A click opens the menu.
///
/// Between appear() and disappear() every such tray of the display gets the icon, whenever it
/// starts; without one nothing is to be seen. Needs QApplication.
class XEmbedItem final : public QObject, public StatusItem {
    Q_OBJECT

public:
    XEmbedItem();
    ~XEmbedItem() override;

    /// Call it only while no org.kde.StatusNotifierWatcher is on the session bus: where one is,
    /// Qt would register a second item with that instead.
    void appear();
    void disappear();

    void setTitle(const QString &title) override;
    QString title() const override { return m_title; }
    void setImage(const std::optional<QString> &name) override;
    std::optional<QString> image() const override { return m_image; }
    void setMenu(std::shared_ptr<Menu> menu) override;
    void displayIfNeeded() override { flush(); }

private:
    struct Presence;

    void queueFlush();
    void flush();

    QString m_title;
    std::optional<QString> m_image;
    std::shared_ptr<Menu> m_menu;
    std::unique_ptr<Presence> m_presence; ///< Nothing while no tray is to have it.
    bool m_flushQueued = false;
};

} // namespace quillfen::platform
