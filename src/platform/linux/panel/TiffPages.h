// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <cstddef>
#include <span>
#include <vector>

namespace quillfen::platform {

/// A picture: @p pixels holds 4 bytes a pixel (alpha, red, green, blue; colours not multiplied
/// with alpha), rows from the top, no padding.
struct Pixmap {
    int width = 0;
    int height = 0;
    QByteArray pixels{};
    friend bool operator==(const Pixmap &, const Pixmap &) = default;
};

/// The pages of a TIFF file in their order, as far as they are what our image script writes:
/// uncompressed, 8 bits each of red, green, blue and alpha, side by side, at most 512 pixels
/// wide and high. Other pages are left out; a damaged file ends where the damage begins.
///
/// A reader of our own, since a library for every kind of TIFF would be the largest part of
/// a program that sits in the panel all day.
/// @source TIFF revision 6.0, section 2 (structure), 8 (fields), 18 (alpha)
std::vector<Pixmap> tiffPages(std::span<const std::byte> file);

} // namespace quillfen::platform
