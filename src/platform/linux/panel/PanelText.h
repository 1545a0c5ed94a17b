// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace quillfen::platform {

/// What goes to a panel at most, in UTF-16 units. Titles hold names that other machines gave
/// themselves, and a panel lays out every character that it gets.
inline constexpr qsizetype kMaxPanelText = 1000;

/// @p text as one line that stays in its own place: cut to kMaxPanelText with an ellipsis at
/// the end, control characters and line breaks as blanks, and without the marks that turn the
/// direction of the text around them (Unicode annex 9, section 2).
QString onePanelLine(const QString &text);

/// The widest text to expect in the place of @p label, which a panel keeps room for: its address,
/// if it starts with one or with the dashes that stand for none, is 255.255.255.255 in the guide.
QString labelGuide(const QString &label);

/// @p text as a tool tip's title. Some hosts read it as markup and others do not, so that
/// no way of escaping is right: `& < >` become their full-width look-alikes.
QString toolTipTitle(const QString &text);

/// @p title as a menu row's label, where an underscore marks an access key unless it is doubled.
QString menuLabel(const QString &title);

} // namespace quillfen::platform
