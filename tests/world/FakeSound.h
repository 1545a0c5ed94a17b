// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Sound.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace quillfen::world {

/// The sounds that come with the program, and whoever hears them.
class FakeSounds : public platform::Sounds {
public:
    FakeSounds();
    ~FakeSounds() override;

    std::unique_ptr<platform::Sound> load(const QString &name) override;

    /// From now on there is no file of that name; what was loaded before is still heard.
    void remove(const QString &name);
    /// The names of the sounds heard since the last call, in order.
    QStringList takeHeard();

private:
    class FakeSound;

    QStringList m_names;
    QStringList m_heard;
};

} // namespace quillfen::world
