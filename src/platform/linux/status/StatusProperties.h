// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusPublication.h"

#include <QLatin1StringView>
#include <QVariantMap>

namespace quillfen::platform {

/// The status on the session bus: properties of this interface, of the object at this path. They
/// are only read. Each change is told by PropertiesChanged: with the new value, of the list of
/// addresses only that it changed.
///
/// `Title` s, `Addresses` as, `DNSName` s, `ComputerName` s, `WirelessNetwork` s,
/// `ExternalAddress` s: the fields of ShownStatus, where an empty text stands for nothing.
inline constexpr QLatin1StringView kStatusInterface{"com.corvane.Quillfen.Status"};
inline constexpr QLatin1StringView kStatusPath{"/com/corvane/Quillfen/Status"};
inline constexpr QLatin1StringView kPropertiesInterface{"org.freedesktop.DBus.Properties"};

/// The properties with their names.
QVariantMap toProperties(const ShownStatus &status);

/// The other way round, for any input: what is missing or of another type reads as nothing.
ShownStatus fromProperties(const QVariantMap &properties);

} // namespace quillfen::platform
