// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Menu.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quillfen::platform {

/// A row of a menu as hosts see it.
struct MenuRow {
    /// What a row is for, which makes it the same row after the menu was built anew: the
    /// third with this action and tag, say. Not its title, which changes.
    struct Purpose {
        bool separator = false;
        std::string_view action{};
        int tag = 0;
        int occurrence = 0;
        friend auto operator<=>(const Purpose &, const Purpose &) = default;
    };

    int id = 0;
    Purpose purpose{};
    QString label{};
    QString toolTip{};
    bool enabled = false;
    friend bool operator==(const MenuRow &, const MenuRow &) = default;

    /// Every property that com.canonical.dbusmenu has for such a row, defaults as well: some hosts
    /// keep the value that a former row of this id had if one is left out.
    QVariantMap properties() const;
};

/// The exported rows of a menu. A plain value.
///
/// Ids are above 0. A row keeps its id while it survives from menu to menu, so that an
/// open menu keeps its widgets; an id whose row is gone never comes back.
class MenuRows {
public:
    /// Takes in the rows of @p menu, or, without a menu or rows, one that says so: hosts do
    /// not open an empty menu.
    /// @returns the rows before this that survived and looked otherwise, and whether the
    ///          list of ids changed.
    struct Change {
        bool layout = false;
        std::vector<MenuRow> before{};
    };
    Change take(const Menu *menu);

    /// Gives the row at @p index the title @p title. @returns the row as it was.
    MenuRow setTitle(std::size_t index, const QString &title);

    const std::vector<MenuRow> &all() const { return m_rows; }
    std::optional<std::size_t> indexOf(int id) const;

private:
    std::vector<MenuRow> m_rows;
    std::unordered_map<int, std::size_t> m_indexOfId;
    int m_lastId = 0;
};

} // namespace quillfen::platform
