// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLatin1StringView>

/// The distributed notification by which the program hears that its settings have changed; other
/// programs may post it, too.
namespace quillfen::prefs {

/// Its name.
inline constexpr QLatin1StringView kPreferencesChanged{"Preferences Changed"};
/// Its object.
inline constexpr QLatin1StringView kPreferencesNotificationIdentifier{
    "com.corvane.preference.Quillfen"};

} // namespace quillfen::prefs
