// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/FreeMemory.h"

#include <cstddef>

#include <malloc.h>

namespace quillfen::platform {

void giveBackFreeMemory()
{
    constexpr std::size_t kWorthwhile = 256 * 1024; // bytes
    if (mallinfo2().fordblks > kWorthwhile)
        malloc_trim(0);
}

} // namespace quillfen::platform
