// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/status/StatusProperties.h"

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr auto kTitle = "Title"_L1;
constexpr auto kAddresses = "Addresses"_L1;
constexpr auto kDNSName = "DNSName"_L1;
constexpr auto kComputerName = "ComputerName"_L1;
constexpr auto kWirelessNetwork = "WirelessNetwork"_L1;
constexpr auto kExternalAddress = "ExternalAddress"_L1;

QString textOf(const QVariantMap &properties, QLatin1StringView name)
{
    const QVariant value = properties.value(name);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

std::optional<QString> knownTextOf(const QVariantMap &properties, QLatin1StringView name)
{
    const QString text = textOf(properties, name);
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

QVariantMap toProperties(const ShownStatus &status)
{
    return {{kTitle, status.title},
            {kAddresses, status.addresses},
            {kDNSName, status.dnsName.value_or(QString())},
            {kComputerName, status.computerName.value_or(QString())},
            {kWirelessNetwork, status.wirelessNetwork.value_or(QString())},
            {kExternalAddress, status.externalAddress.value_or(QString())}};
}

ShownStatus fromProperties(const QVariantMap &properties)
{
    const QVariant addresses = properties.value(kAddresses);
    return {.title = textOf(properties, kTitle),
            .addresses = addresses.typeId() == QMetaType::QStringList ? addresses.toStringList()
                                                                      : QStringList(),
            .dnsName = knownTextOf(properties, kDNSName),
            .computerName = knownTextOf(properties, kComputerName),
            .wirelessNetwork = knownTextOf(properties, kWirelessNetwork),
            .externalAddress = knownTextOf(properties, kExternalAddress)};
}

} // namespace quillfen::platform
