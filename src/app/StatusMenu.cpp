// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StatusMenu.h"

#include "support/FormatText.h"

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::MenuItem;
using support::formatText;

namespace {

const QString kCopyDNSName = u"Copy this machines DNS (domain name system) name to the clipboard"_s;
const QString kCopyExternalIP = u"Copy the external IP address to the clipboard"_s;
const QString kCopyExternalDNSName =
    u"Copy this machines external DNS (domain name system) name to the clipboard"_s;
const QString kCopyIP = u"Copy this machines IP address to the clipboard"_s;

const MenuItem kSeparator{.title = {}, .separator = true};

void append(std::vector<MenuItem> &items, const std::vector<MenuItem> &more)
{
    items.insert(items.end(), more.begin(), more.end());
}

} // namespace

std::vector<MenuItem> statusMenuItems(const QStringList &addresses)
{
    std::vector<MenuItem> items;
    items.reserve(static_cast<std::size_t>(addresses.size()) + 19);
    append(items,
           {{.title = kNoDNSName, .action = kSelItemCopyDNSName, .toolTip = kCopyDNSName},
            {.title = kNoExternalIP,
             .action = kSelItemCopyExternalAddress,
             .toolTip = kCopyExternalIP},
            {.title = u"External DNS name unavailable"_s,
             .action = kSelItemCopyExternalDNSName,
             .toolTip = kCopyExternalDNSName},
            kSeparator,
            {.title = u"Copy IP Address"_s, .action = kSelItemCopyAddress, .toolTip = kCopyIP},
            {.title = u"Copy External IP Address"_s,
             .action = kSelItemCopyExternalAddress,
             .toolTip = kCopyExternalIP},
            {.title = u"Copy DNS Name"_s, .action = kSelItemCopyDNSName, .toolTip = kCopyDNSName},
            {.title = u"Copy External DNS Name"_s,
             .action = kSelItemCopyExternalDNSName,
             .toolTip = kCopyExternalDNSName},
            kSeparator,
            {.title = u"All local Addresses:"_s}});
    for (int position = 0; const QString &address : addresses) {
        items.push_back(
            {.title = address,
             .action = kSelItemCopySelectedAddress,
             .toolTip = formatText(u"Copy addres %d (%@) to the clipboard", position + 1, address),
             .tag = position});
        ++position;
    }
    append(items,
           {kSeparator,
            {.title = u"View in Corvane Website..."_s, .action = kGoToWebsite},
            {.title = u"View in Mac App Store..."_s, .action = kGoToMAS},
            kSeparator,
            {.title = u"Preferences..."_s, .action = kSelItemPreferences},
            {.title = u"Console Log..."_s, .action = kSelItemOpenConsoleLog},
            kSeparator,
            {.title = u"About Quillfen"_s, .action = kSelItemAbout},
            {.title = u"Quit"_s, .action = kSelItemQuit}});
    return items;
}

} // namespace quillfen::app
