// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "support/StringExtensions.h"

#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

namespace {

using quillfen::support::cleanForFilename;
using quillfen::support::extractBetweenPattern;
using quillfen::support::reverseExtractBetweenPattern;
using quillfen::test::require;

/// The bytes as UTF-16, unpaired surrogates and all.
QString sixteenBitUnits(const std::uint8_t *data, std::size_t size)
{
    QString text(static_cast<qsizetype>(size / sizeof(char16_t)), Qt::Uninitialized);
    std::memcpy(text.data(), data, static_cast<std::size_t>(text.size()) * sizeof(char16_t));
    return text;
}

/// Where @p marker lies in @p text at or after @p from, found by looking at every index; -1 for
/// nowhere.
qsizetype firstAt(QStringView text, QStringView marker, qsizetype from)
{
    for (qsizetype at = from; !marker.isEmpty() && at + marker.size() <= text.size(); ++at) {
        if (text.sliced(at, marker.size()) == marker)
            return at;
    }
    return -1;
}

qsizetype lastAt(QStringView text, QStringView marker)
{
    for (qsizetype at = text.size() - marker.size(); !marker.isEmpty() && at >= 0; --at) {
        if (text.sliced(at, marker.size()) == marker)
            return at;
    }
    return -1;
}

/// ASCII letters small, all else as it is.
QString lowered(QStringView text)
{
    QString result = text.toString();
    for (QChar &unit : result) {
        if (unit >= u'A' && unit <= u'Z')
            unit = QChar(unit.unicode() + 0x20);
    }
    return result;
}

bool isAscii(QStringView text)
{
    for (const QChar unit : text) {
        if (unit.unicode() > 0x7F)
            return false;
    }
    return true;
}

/// In ASCII, both extractions are what the plainest search finds.
void checkAgainstPlainSearch(const QString &text, const QString &start, const QString &end)
{
    const QString small = lowered(text);
    std::optional<QString> forwards;
    const qsizetype startAt = firstAt(small, lowered(start), 0);
    const qsizetype endAt = startAt < 0 ? -1 : firstAt(small, lowered(end), startAt + start.size());
    if (endAt >= 0)
        forwards = text.sliced(startAt + start.size(), endAt - startAt - start.size());
    require(extractBetweenPattern(text, start, end) == forwards);

    std::optional<QString> backwards;
    const qsizetype firstEnd = firstAt(small, lowered(end), 0);
    const qsizetype nearest =
        firstEnd < 0 ? -1 : lastAt(QStringView(small).first(firstEnd), lowered(start));
    if (nearest >= 0)
        backwards = text.sliced(nearest + start.size(), firstEnd - nearest - start.size());
    require(reverseExtractBetweenPattern(text, start, end) == backwards);
}

/// In any text, what is cut out lies between two spellings of the markers.
void checkNeighbours(const QString &text, const QString &start, const QString &end)
{
    for (const auto &cut : {extractBetweenPattern(text, start, end),
                            reverseExtractBetweenPattern(text, start, end)}) {
        bool found = !cut;
        for (qsizetype at = start.size(); !found && at + cut->size() <= text.size(); ++at) {
            const QStringView before = QStringView(text).sliced(at - start.size(), start.size());
            const QStringView after = QStringView(text).sliced(at + cut->size());
            found = QStringView(text).sliced(at, cut->size()) == *cut
                && before.compare(start, Qt::CaseInsensitive) == 0
                && after.startsWith(end, Qt::CaseInsensitive);
        }
        require(found);
    }
}

} // namespace

/// The first two bytes are the markers' lengths; then come the markers and the text, which are
/// UTF-16 units when the first byte is odd, and UTF-8 otherwise.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 2)
        return 0;
    const QString all = data[0] % 2 == 1
        ? sixteenBitUnits(data + 2, size - 2)
        : QString::fromUtf8(QByteArrayView(data + 2, static_cast<qsizetype>(size - 2)));
    const qsizetype startSize = qMin<qsizetype>(data[0] / 2 % 16, all.size());
    const qsizetype endSize = qMin<qsizetype>(data[1] % 16, all.size() - startSize);
    const QString start = all.first(startSize);
    const QString end = all.sliced(startSize, endSize);
    const QString text = all.sliced(startSize + endSize);

    if (isAscii(all))
        checkAgainstPlainSearch(text, start, end);
    // Half a surrogate pair as a marker may split a character; then no comparison is fair.
    if (start.isValidUtf16() && end.isValidUtf16())
        checkNeighbours(text, start, end);
    else
        extractBetweenPattern(text, start, end);

    const QString clean = cleanForFilename(text);
    require(clean.size() == text.size() && !clean.contains(u'/') && !clean.contains(u':'));
    require(cleanForFilename(clean) == clean);
    return 0;
}
