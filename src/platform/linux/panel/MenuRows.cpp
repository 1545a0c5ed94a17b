// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/MenuRows.h"

#include "platform/linux/panel/PanelText.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// The rows of @p menu, without ids yet.
std::vector<MenuRow> rowsOf(const Menu *menu)
{
    std::vector<MenuRow> rows;
    std::map<MenuRow::Purpose, int> occurrences;
    if (!menu || menu->items().empty())
        return {{.label = u"Quillfen"_s}};
    rows.reserve(menu->items().size());
    for (const MenuItem &item : menu->items()) {
        MenuRow::Purpose purpose{.separator = item.separator};
        if (!item.separator) {
            purpose.action = item.action;
            purpose.tag = item.tag;
        }
        purpose.occurrence = ++occurrences[purpose];
        rows.push_back({.purpose = purpose,
                        .label = item.separator ? QString() : menuLabel(item.title),
                        .toolTip = item.separator ? QString() : onePanelLine(item.toolTip),
                        .enabled = !item.separator && menu->delegate().validateMenuItem(item)});
    }
    return rows;
}

} // namespace

QVariantMap MenuRow::properties() const
{
    if (purpose.separator)
        return {{u"type"_s, u"separator"_s}, {u"enabled"_s, false}, {u"visible"_s, true}};
    QVariantMap all{{u"type"_s, u"standard"_s},
                    {u"label"_s, label},
                    {u"enabled"_s, enabled},
                    {u"visible"_s, true}};
    if (!toolTip.isEmpty()) {
        all.insert(u"accessible-desc"_s, toolTip);
        all.insert(u"x-tooltip"_s, toolTip);
    }
    return all;
}

MenuRows::Change MenuRows::take(const Menu *menu)
{
    std::map<MenuRow::Purpose, const MenuRow *> survivors;
    for (const MenuRow &row : m_rows)
        survivors.emplace(row.purpose, &row);

    Change change;
    std::vector<MenuRow> rows = rowsOf(menu);
    m_indexOfId.clear();
    for (MenuRow &row : rows) {
        const auto before = survivors.find(row.purpose);
        row.id = before == survivors.end() ? ++m_lastId : before->second->id;
        if (before != survivors.end() && *before->second != row)
            change.before.push_back(*before->second);
        m_indexOfId.emplace(row.id, m_indexOfId.size());
    }
    change.layout = !std::ranges::equal(rows, m_rows, {}, &MenuRow::id, &MenuRow::id);
    m_rows = std::move(rows);
    return change;
}

MenuRow MenuRows::setTitle(std::size_t index, const QString &title)
{
    MenuRow now = m_rows.at(index);
    now.label = menuLabel(title);
    return std::exchange(m_rows[index], std::move(now));
}

std::optional<std::size_t> MenuRows::indexOf(int id) const
{
    const auto found = m_indexOfId.find(id);
    return found == m_indexOfId.end() ? std::nullopt : std::optional(found->second);
}

} // namespace quillfen::platform
