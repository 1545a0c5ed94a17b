// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Menu.h"
#include "platform/StatusItem.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace quillfen::world {

/// What a panel holds of one item, and the hand that clicks on it. Outlives the item.
class FakePanel {
public:
    FakePanel();
    ~FakePanel();

    QString title() const;
    std::optional<QString> image() const;
    std::shared_ptr<platform::Menu> menu() const;
    /// Every title that was to be seen, oldest first; the same one twice in a row is one.
    const QStringList &shownTitles() const { return m_shownTitles; }
    QStringList takeShownTitles();

    /// Opens the installed menu as a user does. @p opened is called when its titles are those of
    /// this opening. The opened menu stays in view while the next one is installed.
    void open(std::function<void()> opened);
    /// The menu that was last opened; the installed one while none was.
    std::shared_ptr<platform::Menu> menuInView() const;
    /// The titles of the menu in view, "-" for a separator.
    QStringList rows() const;
    /// Chooses the row of the menu in view whose title is @p title.
    /// @returns false if there is none, or if it cannot be chosen.
    bool choose(const QString &title);

private:
    friend class FakeStatusItem;

    std::optional<QString> m_title; ///< Nothing until one is set.
    std::optional<QString> m_image;
    std::shared_ptr<platform::Menu> m_menu;
    std::shared_ptr<platform::Menu> m_inView;
    QStringList m_shownTitles;
};

/// A status area with room for one item after the other; panel() is where the last one went. An
/// item's panel shows everything at once.
class FakeStatusBar final : public platform::StatusBar {
public:
    FakeStatusBar();
    ~FakeStatusBar() override;

    std::unique_ptr<platform::StatusItem> statusItemWithLength(double length) override;
    FakePanel &panel() const { return *m_panel; }
    bool hasItem() const { return m_panel != nullptr; }
    double length() const { return m_length; }

private:
    std::shared_ptr<FakePanel> m_panel;
    double m_length = 0;
};

} // namespace quillfen::world
