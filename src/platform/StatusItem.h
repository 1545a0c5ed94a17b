// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <memory>
#include <optional>

namespace quillfen::platform {

class Menu;

/// The program's place in the status area: a text, an image, a menu.
///
/// What every implementation promises:
///   1. The getters answer at once what was last set, panel or no panel.
///   2. What is set within one pass of the event loop reaches the panel together, at its end or
///      with displayIfNeeded(), and only what differs from what the panel already shows.
///   3. Without a panel nothing fails; a panel that appears later shows the present state.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    virtual void setTitle(const QString &title) = 0;
    virtual QString title() const = 0;
    /// Shows the image of the resource @p name ("QuillfenSmall.tif"), or none of its own.
    virtual void setImage(const std::optional<QString> &name) = 0;
    virtual std::optional<QString> image() const = 0;
    /// The menu of the next opening; an open one stays as it is.
    virtual void setMenu(std::shared_ptr<Menu> menu) = 0;
    /// Has a panel that is there show now what was set.
    virtual void displayIfNeeded() = 0;
};

/// The width that follows the item's contents.
inline constexpr double kVariableStatusItemLength = -1.0;

/// The desktop's status area.
class StatusBar {
public:
    virtual ~StatusBar() = default;

    /// A new item, empty, of variable width.
    virtual std::unique_ptr<StatusItem> statusItemWithLength(double length) = 0;
};

} // namespace quillfen::platform
