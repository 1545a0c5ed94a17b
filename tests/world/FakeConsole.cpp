// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeConsole.h"

#include <utility>

namespace quillfen::world {

FakeConsole::FakeConsole() = default;

FakeConsole::~FakeConsole() = default;

void FakeConsole::write(const QString &text)
{
    m_lines.append(text);
}

QStringList FakeConsole::takeLines()
{
    return std::exchange(m_lines, {});
}

} // namespace quillfen::world
