// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StatusMenu.h"

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::MenuItem;

namespace {

const MenuItem kSeparator{.title = {}, .separator = true};

} // namespace

std::vector<MenuItem> statusMenuItems(const QStringList &addresses)
{
    std::vector<MenuItem> items{
        {.title = u"DNS name unavailable"_s},
        kSeparator,
        {.title = u"All local Addresses:"_s},
    };
    for (int position = 0; const QString &address : addresses)
        items.push_back({.title = address, .tag = position++});

    const std::vector<MenuItem> commands{
        kSeparator,
        {.title = u"Console Log..."_s, .action = kSelItemOpenConsoleLog},
        kSeparator,
        {.title = u"Quit"_s, .action = kSelItemQuit},
    };
    items.insert(items.end(), commands.begin(), commands.end());
    return items;
}

} // namespace quillfen::app
