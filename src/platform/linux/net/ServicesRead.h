// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/ServiceOrder.h"

#include <cstdint>
#include <vector>

namespace quillfen::platform {

/// What the program last read from any connection.
///
/// A reading that falls between two looks of a watching connection may show a state that was
/// gone again at the second look. Compared with its own looks alone the watch would see no
/// change, and the program would go on showing what it read; so it compares with this as well.
struct ServicesRead {
    std::vector<Service> services;
    std::uint64_t count = 0; ///< Of readings so far.
};

} // namespace quillfen::platform
