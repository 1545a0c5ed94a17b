// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeStatusBar.h"

#include <utility>

namespace quillfen::world {

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
    void displayIfNeeded() override { } // everything is shown as it is set

private:
    std::shared_ptr<FakePanel> m_panel;
};

FakePanel::FakePanel() = default;

FakePanel::~FakePanel() = default;

QString FakePanel::title() const
{
    return m_title.value_or(QString());
}

std::optional<QString> FakePanel::image() const
{
    return m_image;
}

std::shared_ptr<platform::Menu> FakePanel::menu() const
{
    return m_menu;
}

QStringList FakePanel::takeShownTitles()
{
    return std::exchange(m_shownTitles, {});
}

void FakePanel::open(std::function<void()> opened)
{
    m_inView = m_menu;
    if (!m_inView)
        return;
    m_inView->delegate().menuNeedsUpdate(m_inView, std::move(opened));
}

std::shared_ptr<platform::Menu> FakePanel::menuInView() const
{
    return m_inView ? m_inView : m_menu;
}

QStringList FakePanel::rows() const
{
    QStringList titles;
    if (const auto menu = menuInView())
        for (const platform::MenuItem &item : menu->items())
            titles.append(item.separator ? QStringLiteral("-") : item.title);
    return titles;
}

bool FakePanel::choose(const QString &title)
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

FakeStatusBar::FakeStatusBar() = default;

FakeStatusBar::~FakeStatusBar() = default;

std::unique_ptr<platform::StatusItem> FakeStatusBar::statusItemWithLength(double length)
{
    m_length = length;
    m_panel = std::make_shared<FakePanel>();
    return std::make_unique<FakeStatusItem>(m_panel);
}

} // namespace quillfen::world
