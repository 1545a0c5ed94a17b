// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace quillfen::platform {

/// One row of a menu.
struct MenuItem {
    QString title; ///< As shown; underscores and ampersands stand for themselves.
    std::string_view action{}; ///< The action's name, from a constant; empty: none.
    QString toolTip{}; ///< Empty: none.
    int tag = 0;
    bool separator = false; ///< A line between groups; has none of the above.
};

class Menu;

/// Who a menu asks and tells.
class MenuDelegate {
public:
    virtual ~MenuDelegate() = default;

    /// Whether @p item can be chosen.
    virtual bool validateMenuItem(const MenuItem &item) const = 0;
    /// @p menu, which is none but a real one, is about to open. Calls @p done once when its titles
    /// are those of this opening, which may be at once or much later.
    virtual void menuNeedsUpdate(std::shared_ptr<Menu> menu, std::function<void()> done) = 0;
    /// @p item was chosen.
    virtual void sendAction(const MenuItem &item) = 0;
};

/// A menu as data. Its rows are fixed once it is installed; their titles may change.
class Menu : public QObject {
    Q_OBJECT

public:
    /// @p delegate must outlive the menu.
    Menu(MenuDelegate &delegate, std::vector<MenuItem> items)
        : m_delegate(delegate),
          m_items(std::move(items))
    { }

    MenuDelegate &delegate() const { return m_delegate; }
    const std::vector<MenuItem> &items() const { return m_items; }
    /// Gives the row at @p index, which must exist, another title.
    void setTitle(std::size_t index, const QString &title)
    {
        if (m_items.at(index).title == title)
            return;
        m_items[index].title = title;
        Q_EMIT titleChanged(index);
    }

Q_SIGNALS:
    void titleChanged(std::size_t index);

private:
    MenuDelegate &m_delegate;
    std::vector<MenuItem> m_items;
};

} // namespace quillfen::platform
