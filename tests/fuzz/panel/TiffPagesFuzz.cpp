// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/panel/TiffPages.h"

#include <cstddef>
#include <cstdint>
#include <span>

using quillfen::platform::Pixmap;
using quillfen::test::require;

/// Whatever the file holds, what comes out are whole pictures of a bounded size.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto pages = quillfen::platform::tiffPages(std::as_bytes(std::span(data, size)));
    require(pages.size() <= 64);
    for (const Pixmap &page : pages) {
        require(page.width >= 1 && page.width <= 512 && page.height >= 1 && page.height <= 512);
        require(page.pixels.size() == qsizetype{4} * page.width * page.height);
    }
    return 0;
}
