// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLatin1StringView>

namespace quillfen::app {

/// The text in place of an address when there is none; it is stored and compared like one.
inline constexpr QLatin1StringView kNoAddress{"-.-.-.-"};

/// The program's page at its maker's, and the one where it is to be had.
inline constexpr QLatin1StringView kWebsite{"http://www.corvane.com/quillfen/"};
inline constexpr QLatin1StringView kStorePage{"https://store.corvane.com/quillfen/"};

/// The image of the icon-only title, and the one that marks a detected change.
inline constexpr QLatin1StringView kSmallImage{"QuillfenSmall.tif"};
inline constexpr QLatin1StringView kChangeImage{"QuillfenChange.tif"};

} // namespace quillfen::app
