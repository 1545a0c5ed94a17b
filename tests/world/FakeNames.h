// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/NameLookup.h"

#include <QString>
#include <QStringList>

#include <map>

namespace quillfen::world {

/// A name service that knows what the test told it, and can fall silent.
class FakeNames : public platform::NameLookup {
public:
    FakeNames();
    ~FakeNames() override;

    void knows(const QString &name, const QStringList &addresses);
    /// From now on whoever asks waits for ever.
    void keepSilent() { m_silent = true; }
    /// From now on each question ends in an exception.
    void breakDown() { m_broken = true; }

    platform::Task<platform::NameAnswer> addresses(QString name) override;

private:
    std::map<QString, QStringList> m_known;
    bool m_silent = false;
    bool m_broken = false;
};

} // namespace quillfen::world
