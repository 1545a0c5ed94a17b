// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillfen::platform {

/// Hands what was freed back to the system, where it is worth the trouble. The allocator keeps
/// freed memory for the next need; after a list of ten thousand addresses that is megabytes that
/// nobody will need. Call it when a piece of work is over.
/// @source malloc_trim(3), mallinfo(3).
void giveBackFreeMemory();

} // namespace quillfen::platform
