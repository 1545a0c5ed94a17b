// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>

namespace quillfen::platform {

/// A local that counts itself: @p alive says how many have been made and not destroyed yet.
/// The one that it is moved into counts in its place.
class Witness {
public:
    explicit Witness(int &alive) : m_alive(&alive) { ++*m_alive; }
    Witness(Witness &&other) noexcept : m_alive(std::exchange(other.m_alive, nullptr)) { }
    Witness &operator=(Witness &&) = delete;
    ~Witness()
    {
        if (m_alive)
            --*m_alive;
    }

private:
    int *m_alive;
};

} // namespace quillfen::platform
