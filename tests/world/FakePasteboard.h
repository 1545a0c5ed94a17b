// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Pasteboard.h"

#include <QString>

#include <optional>

namespace quillfen::world {

/// A clipboard, and whoever pastes from it.
class FakePasteboard : public platform::Pasteboard {
public:
    FakePasteboard();
    ~FakePasteboard() override;

    void setText(const QString &text) override;
    /// What was copied last; nothing when nothing was since the last call.
    std::optional<QString> take();

private:
    std::optional<QString> m_text;
};

} // namespace quillfen::world
