// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/SystemConsole.h"

#include <QString>
#include <QStringList>

namespace quillfen::world {

/// A console that someone reads: one entry a line, as it was given.
class FakeConsole : public platform::SystemConsole {
public:
    FakeConsole();
    ~FakeConsole() override;

    void write(const QString &text) override;

    const QStringList &lines() const { return m_lines; }
    /// The lines since the last call.
    QStringList takeLines();

private:
    QStringList m_lines;
};

} // namespace quillfen::world
