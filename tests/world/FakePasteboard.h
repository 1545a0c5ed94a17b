// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Pasteboard.h"

#include <QString>

#include <optional>
#include <utility>

namespace quillfen::world {

/// A clipboard, and whoever pastes from it.
class FakePasteboard : public platform::Pasteboard {
public:
    void setText(const QString &text) override { m_text = text; }
    /// What was copied last; nothing when nothing was since the last call.
    std::optional<QString> take() { return std::exchange(m_text, std::nullopt); }

private:
    std::optional<QString> m_text;
};

} // namespace quillfen::world
