// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdlib>

namespace quillfen::test {

/// Ends the fuzzer, which then keeps its input, where what always @p holds does not.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace quillfen::test
