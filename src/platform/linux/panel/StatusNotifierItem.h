// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusItem.h"
#include "platform/linux/panel/ItemObject.h"

#include <QObject>

#include <memory>

namespace quillfen::platform {

class BusKnock;
class SystemConsole;

/// A status item on the session bus.
///
/// Title and image are remembered at once and go out together, in the event loop's next pass at
/// the latest; in the first of these the item is registered, so that a panel sees it complete: as
/// soon as the session bus answers. Until it does nobody waits for it but the item.
class StatusNotifierItem final : public QObject, public StatusItem {
    Q_OBJECT

public:
    /// @p console must outlive the item.
    explicit StatusNotifierItem(SystemConsole &console);
    ~StatusNotifierItem() override;

    void setTitle(const QString &title) override;
    QString title() const override { return m_title; }
    void setImage(const std::optional<QString> &name) override;
    std::optional<QString> image() const override { return m_image; }
    void setMenu(std::shared_ptr<Menu> menu) override;
    void displayIfNeeded() override;

    /// There is a session bus again: the item appears on it, unless it is there or under way.
    void appearAnew();

private:
    struct Presence;

    void queueFlush();
    void flush();
    void knock();
    void appear();
    void sayOnce(const QString &reason);

    SystemConsole &m_console;
    QString m_title;
    std::optional<QString> m_image;
    std::shared_ptr<Menu> m_menu;
    std::unique_ptr<Presence> m_presence; ///< Nothing before the bus has first answered.
    std::unique_ptr<BusKnock> m_knock; ///< Under way towards another presence.
    bool m_flushQueued = false;
    bool m_said = false;
};

} // namespace quillfen::platform
