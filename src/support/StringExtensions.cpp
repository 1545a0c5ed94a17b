// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/StringExtensions.h"

namespace quillfen::support {

namespace {

/// @p text with each character in its folded case, at the index where it was.
///
/// Folded once here rather than at each comparison of a case-insensitive search, which takes
/// half a second for a megabyte that somebody made to resemble its marker (measured).
QString folded(QStringView text)
{
    QString result = text.toString();
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar unit = text[at];
        const bool pair =
            unit.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
        if (pair) {
            const char32_t character =
                QChar::toCaseFolded(QChar::surrogateToUcs4(unit, text[at + 1]));
            result[at] = QChar(QChar::highSurrogate(character));
            result[++at] = QChar(QChar::lowSurrogate(character));
        } else {
            result[at] = unit.toCaseFolded();
        }
    }
    return result;
}

} // namespace

std::optional<QString> extractBetweenPattern(QStringView text, QStringView startPattern,
                                             QStringView andPattern)
{
    if (startPattern.isEmpty() || andPattern.isEmpty())
        return std::nullopt;
    const QString searched = folded(text);
    const qsizetype startMarker = searched.indexOf(folded(startPattern));
    if (startMarker < 0)
        return std::nullopt;
    const qsizetype start = startMarker + startPattern.size();
    const qsizetype end = searched.indexOf(folded(andPattern), start);
    if (end < 0)
        return std::nullopt;
    return text.sliced(start, end - start).toString();
}

std::optional<QString> reverseExtractBetweenPattern(QStringView text, QStringView startPattern,
                                                    QStringView andPattern)
{
    if (startPattern.isEmpty() || andPattern.isEmpty())
        return std::nullopt;
    const QString searched = folded(text);
    const qsizetype end = searched.indexOf(folded(andPattern));
    if (end < 0)
        return std::nullopt;
    // From -1 on, not from the size on, which lastIndexOf() takes by itself: Qt 6.4 then looks
    // for a marker of one character one place beyond the view's end.
    const QStringView before = QStringView(searched).first(end);
    const qsizetype startMarker = before.lastIndexOf(folded(startPattern), -1);
    if (startMarker < 0)
        return std::nullopt;
    const qsizetype start = startMarker + startPattern.size();
    return text.sliced(start, end - start).toString();
}

std::optional<QString> runScript(QStringView)
{
    return std::nullopt;
}

QString cleanForFilename(QStringView text)
{
    QString clean = text.toString();
    clean.replace(u'/', u'-');
    clean.replace(u':', u'-');
    return clean;
}

} // namespace quillfen::support
