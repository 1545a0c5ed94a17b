// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakePasteboard.h"

#include <utility>

namespace quillfen::world {

FakePasteboard::FakePasteboard() = default;

FakePasteboard::~FakePasteboard() = default;

void FakePasteboard::setText(const QString &text)
{
    m_text = text;
}

std::optional<QString> FakePasteboard::take()
{
    return std::exchange(m_text, std::nullopt);
}

} // namespace quillfen::world
