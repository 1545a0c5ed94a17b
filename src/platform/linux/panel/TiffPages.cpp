// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/TiffPages.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace quillfen::platform {

namespace {

enum Tag : std::uint16_t {
    kWidth = 256,
    kHeight = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kStripOffsets = 273,
    kSamplesPerPixel = 277,
    kStripByteCounts = 279,
    kPlanar = 284,
    kExtraSamples = 338,
};

constexpr std::uint32_t kMaxSide = 512;
constexpr std::size_t kMaxPages = 64; // a chain of pages may bite its own tail
constexpr std::size_t kMaxValues = kMaxSide; // one strip a row is the finest division

/// The fields of one page: the values of each tag that is made of numbers.
using Fields = std::map<std::uint16_t, std::vector<std::uint32_t>>;

/// The numbers of a TIFF file, in whichever byte order it is written.
class Numbers {
public:
    explicit Numbers(std::span<const std::byte> file) : m_file(file) { }

    /// Whether the file starts as a TIFF file does; sets the byte order.
    bool open()
    {
        if (m_file.size() < 8)
            return false;
        m_bigEndian = m_file[0] == std::byte{'M'};
        return m_file[0] == m_file[1] && (m_bigEndian || m_file[0] == std::byte{'I'})
            && number(2, 2) == 42;
    }
    /// The number of @p size (2 or 4) bytes at @p offset; nothing beyond the end of the file.
    std::optional<std::uint32_t> number(std::size_t offset, std::size_t size) const
    {
        if (offset > m_file.size() || m_file.size() - offset < size)
            return {};
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t at = m_bigEndian ? offset + i : offset + size - 1 - i;
            value = value << 8 | std::to_integer<std::uint32_t>(m_file[at]);
        }
        return value;
    }

private:
    std::span<const std::byte> m_file;
    bool m_bigEndian = false;
};

/// The values of the field whose 12 bytes start at @p offset; empty for other types than
/// SHORT and LONG. Nothing if they lie outside the file.
std::optional<std::vector<std::uint32_t>> values(const Numbers &file, std::size_t offset)
{
    const auto type = file.number(offset + 2, 2);
    const auto count = file.number(offset + 4, 4);
    const auto place = file.number(offset + 8, 4);
    if (!place)
        return {};
    std::vector<std::uint32_t> found;
    const bool isShort = type == 3u;
    const bool isLong = type == 4u;
    if ((!isShort && !isLong) || *count > kMaxValues)
        return found;
    const std::size_t size = isShort ? 2 : 4;
    const std::size_t start = *count * size <= 4 ? offset + 8 : *place;
    for (std::size_t i = 0; i < *count; ++i) {
        const auto value = file.number(start + i * size, size);
        if (!value)
            return {};
        found.push_back(*value);
    }
    return found;
}

std::uint32_t first(const Fields &fields, Tag tag, std::uint32_t fallback)
{
    const auto field = fields.find(tag);
    return field == fields.end() || field->second.empty() ? fallback : field->second.front();
}

bool isOurKind(const Fields &fields)
{
    const auto bits = fields.find(kBitsPerSample);
    return first(fields, kCompression, 1) == 1 && first(fields, kPhotometric, 0) == 2
        && first(fields, kSamplesPerPixel, 1) == 4 && first(fields, kPlanar, 1) == 1
        && first(fields, kExtraSamples, 0) == 2 // 1 would be colours multiplied with alpha
        && bits != fields.end() && std::ranges::all_of(bits->second, [](auto b) { return b == 8; });
}

/// The bytes of all strips of a page, one after the other; nothing if any lies outside the file.
std::optional<QByteArray> strips(std::span<const std::byte> file, const Fields &fields)
{
    const auto offsets = fields.find(kStripOffsets);
    const auto counts = fields.find(kStripByteCounts);
    if (offsets == fields.end() || counts == fields.end()
        || offsets->second.size() != counts->second.size())
        return {};
    QByteArray bytes;
    for (std::size_t i = 0; i < offsets->second.size(); ++i) {
        const std::size_t offset = offsets->second[i];
        const std::size_t count = counts->second[i];
        if (offset > file.size() || file.size() - offset < count
            || bytes.size() + count > 4u * kMaxSide * kMaxSide)
            return {};
        bytes.append(reinterpret_cast<const char *>(file.data()) + offset,
                     static_cast<qsizetype>(count));
    }
    return bytes;
}

std::optional<Pixmap> picture(std::span<const std::byte> file, const Fields &fields)
{
    const std::uint32_t width = first(fields, kWidth, 0);
    const std::uint32_t height = first(fields, kHeight, 0);
    if (!isOurKind(fields) || width - 1 >= kMaxSide || height - 1 >= kMaxSide)
        return {};
    std::optional<QByteArray> pixels = strips(file, fields);
    if (!pixels || pixels->size() != qsizetype{4} * width * height)
        return {};
    for (char *pixel = pixels->data(); pixel != pixels->data() + pixels->size(); pixel += 4)
        std::rotate(pixel, pixel + 3, pixel + 4); // red, green, blue, alpha: alpha to the front
    return Pixmap{static_cast<int>(width), static_cast<int>(height), std::move(*pixels)};
}

/// The fields of the page at @p offset and, after them, the place of the next one.
std::optional<std::pair<Fields, std::uint32_t>> page(const Numbers &file, std::size_t offset)
{
    const auto count = file.number(offset, 2);
    if (!count)
        return {};
    Fields fields;
    for (std::size_t i = 0; i < *count; ++i) {
        const std::size_t field = offset + 2 + 12 * i;
        auto found = values(file, field);
        if (!found)
            return {};
        fields.insert_or_assign(static_cast<std::uint16_t>(*file.number(field, 2)),
                                std::move(*found));
    }
    const auto next = file.number(offset + 2 + 12 * *count, 4);
    if (!next)
        return {};
    return std::pair{std::move(fields), *next};
}

} // namespace

std::vector<Pixmap> tiffPages(std::span<const std::byte> file)
{
    std::vector<Pixmap> pages;
    Numbers numbers(file);
    if (!numbers.open())
        return pages;
    std::uint32_t offset = *numbers.number(4, 4);
    for (std::size_t seen = 0; offset != 0 && seen < kMaxPages; ++seen) {
        const auto found = page(numbers, offset);
        if (!found)
            break;
        if (auto pixmap = picture(file, found->first))
            pages.push_back(std::move(*pixmap));
        offset = found->second;
    }
    return pages;
}

} // namespace quillfen::platform
