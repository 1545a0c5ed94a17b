// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/AboutPanel.h"

namespace quillfen::world {

/// A desk on which the window about the program can come to lie in front.
class FakeAboutPanel : public platform::AboutPanel {
public:
    void orderFront() override { m_isInFront = true; }
    bool isInFront() const { return m_isInFront; }

private:
    bool m_isInFront = false;
};

} // namespace quillfen::world
