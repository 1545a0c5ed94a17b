// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringView>

#include <optional>

/// How values are cut out of texts that others formatted.
///
/// Markers match without regard to letter case, by Unicode's simple case folding, so that a
/// match is always as long as its marker. An empty marker matches nowhere. What is cut out is
/// neither trimmed nor checked.
namespace quillfen::support {

/// The text between the first @p startPattern and the first @p andPattern after it; empty when
/// they follow each other directly, nothing when either is missing.
std::optional<QString> extractBetweenPattern(QStringView text, QStringView startPattern,
                                             QStringView andPattern);

/// The text between the first @p andPattern and the last @p startPattern that ends before it;
/// nothing when either is missing.
std::optional<QString> reverseExtractBetweenPattern(QStringView text, QStringView startPattern,
                                                    QStringView andPattern);

/// The result of running @p source as an AppleScript program. There is no engine for that on
/// this platform, so no program compiles, which is reported as nothing.
std::optional<QString> runScript(QStringView source);

/// @p text with each "/" and ":" replaced by "-". No other character is touched.
QString cleanForFilename(QStringView text);

} // namespace quillfen::support
