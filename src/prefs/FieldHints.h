// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// What the program makes of a text that stands in a field of the preferences window, in one
/// short line for beside the field.
namespace quillfen::prefs {

/// Of the minutes between two checks of the external address: 16 bits of the number count,
/// less than 6 is 6, and the seconds are counted in 16 bits, so that more than 546 wraps round.
QString intervalHint(const QString &typed);

/// Of the mail server's port, the low 16 bits of a number; @p overTls is whether mail is to be
/// encrypted at all.
QString portHint(const QString &typed, bool overTls);

} // namespace quillfen::prefs
