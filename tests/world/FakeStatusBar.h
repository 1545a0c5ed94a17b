// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Menu.h"
#include "platform/StatusItem.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace quillfen::world {

/// What a panel holds of one item, and the hand that clicks on it. Outlives the item.
class FakePanel {
public:
    QString title() const { return m_title.value_or(QString()); }
    std::optional<QString> image() const { return m_image; }
    std::shared_ptr<platform::Menu> menu() const { return m_menu; }
    /// Every title that was to be seen, oldest first; the same one twice in a row is one.
    const QStringList &shownTitles() const { return m_shownTitles; }
    QStringList takeShownTitles() { return std::exchange(m_shownTitles, {}); }

    /// Opens the installed menu as a user does. @p opened is called when its titles are those of
    /// this opening. The opened menu stays in view while the next one is installed.
    void open(std::function<void()> opened)
    {
        m_inView = m_menu;
        if (!m_inView)
            return;
        m_inView->delegate().menuNeedsUpdate(m_inView, std::move(opened));
    }
    /// The menu that was last opened; the installed one while none was.
    std::shared_ptr<platform::Menu> menuInView() const { return m_inView ? m_inView : m_menu; }
    /// The titles of the menu in view, "-" for a separator.
    QStringList rows() const
    {
        QStringList titles;
        if (const auto menu = menuInView())
            for (const platform::MenuItem &item : menu->items())
                titles.append(item.separator ? QStringLiteral("-") : item.title);
        return titles;
    }
    /// Chooses the row of the menu in view whose title is @p title.
    /// @returns false if there is none, or if it cannot be chosen.
    bool choose(const QString &title)
    {
        const auto menu = menuInView();
        if (!menu)
            return false;
        for (const platform::MenuItem &item : menu->items()) {
            if (item.separator || item.title != title)
                continue;
            if (!menu->delegate().validateMenuItem(item))
                return false;
            const platform::MenuItem chosen = item;
            menu->delegate().sendAction(chosen);
            return true;
        }
        return false;
    }

private:
    friend class FakeStatusItem;

    std::optional<QString> m_title; ///< Nothing until one is set.
    std::optional<QString> m_image;
    std::shared_ptr<platform::Menu> m_menu;
    std::shared_ptr<platform::Menu> m_inView;
    QStringList m_shownTitles;
};

/// An item whose panel shows everything at once.
class FakeStatusItem final : public platform::StatusItem {
public:
    explicit FakeStatusItem(std::shared_ptr<FakePanel> panel) : m_panel(std::move(panel)) { }

    void setTitle(const QString &title) override
    {
        if (m_panel->m_title != title)
            m_panel->m_shownTitles.append(title);
        m_panel->m_title = title;
    }
    QString title() const override { return m_panel->title(); }
    void setImage(const std::optional<QString> &name) override { m_panel->m_image = name; }
    std::optional<QString> image() const override { return m_panel->m_image; }
    void setMenu(std::shared_ptr<platform::Menu> menu) override
    {
        m_panel->m_menu = std::move(menu);
    }

private:
    std::shared_ptr<FakePanel> m_panel;
};

/// A status area with room for one item after the other; panel() is where the last one went.
class FakeStatusBar final : public platform::StatusBar {
public:
    std::unique_ptr<platform::StatusItem> statusItemWithLength(double length) override
    {
        m_length = length;
        m_panel = std::make_shared<FakePanel>();
        return std::make_unique<FakeStatusItem>(m_panel);
    }
    FakePanel &panel() const { return *m_panel; }
    bool hasItem() const { return m_panel != nullptr; }
    double length() const { return m_length; }

private:
    std::shared_ptr<FakePanel> m_panel;
    double m_length = 0;
};

} // namespace quillfen::world
