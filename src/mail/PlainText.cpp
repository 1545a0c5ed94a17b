// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/PlainText.h"

#include <algorithm>

namespace quillfen::mail {

namespace {

bool turnsDirection(char16_t unit)
{
    return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E)
        || (unit >= 0x2066 && unit <= 0x2069);
}

/// Not the ends of a line alone: Unicode has two more characters that separate lines.
bool breaksLine(char16_t unit)
{
    return unit == u'\t' || unit == u'\n' || unit == 0x2028 || unit == 0x2029;
}

} // namespace

QString plainLine(QStringView text)
{
    QString line;
    line.reserve(text.size());
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        if (breaksLine(unit))
            line += u' ';
        else if (unit >= 0x20 && (unit < 0x7F || unit > 0x9F) && !turnsDirection(unit))
            line += character;
    }
    return line;
}

bool hasControl(QStringView text)
{
    return std::any_of(text.begin(), text.end(), [](QChar character) {
        return character.category() == QChar::Other_Control || character == QChar::LineSeparator
            || character == QChar::ParagraphSeparator;
    });
}

} // namespace quillfen::mail
