// SPDX-License-Identifier: GPL-3.0-or-later
#include "netinfo/WirelessNetworkName.h"

#include "platform/SystemReport.h"
#include "support/Log.h"
#include "support/StringExtensions.h"
#include "support/TextDecoding.h"

#include <QByteArray>

using namespace Qt::StringLiterals;

namespace quillfen::netinfo {

using platform::Task;

Task<std::optional<QString>> LookUpWirelessNetworkName(support::Log &log,
                                                       platform::SystemReport &report)
{
    log.LogMessage(u"Looking up wireless network name..."_s);
    const std::optional<QByteArray> bytes = co_await report.run();
    if (!bytes)
        co_return std::nullopt;
    co_return wirelessNameInReport(support::decodeText(*bytes));
}

std::optional<QString> wirelessNameInReport(const QString &text)
{
    const auto inLine = support::extractBetweenPattern(text, u"Current Wireless Network: ", u"\n");
    if (inLine)
        return inLine;
    const auto inSection =
        support::extractBetweenPattern(text, u"Current Network Information:", u":\n");
    return inSection ? std::optional(inSection->trimmed()) : std::nullopt;
}

} // namespace quillfen::netinfo
