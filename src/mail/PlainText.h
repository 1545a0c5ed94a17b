// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringView>

namespace quillfen::mail {

/// A text from outside as one line that shows what it says: line ends and tabs become blanks, other
/// control characters and those that turn the direction of writing are left out.
QString plainLine(QStringView text);

/// Whether @p text has a character in it that could end a line or steer a terminal.
bool hasControl(QStringView text);

} // namespace quillfen::mail
