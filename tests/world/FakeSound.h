// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Sound.h"

#include <QStringList>

#include <memory>
#include <utility>

namespace quillfen::world {

/// The sounds that come with the program, and whoever hears them.
class FakeSounds : public platform::Sounds {
public:
    std::unique_ptr<platform::Sound> load(const QString &name) override
    {
        if (!m_names.contains(name))
            return nullptr;
        return std::make_unique<FakeSound>(*this, name);
    }

    /// From now on there is no file of that name; what was loaded before is still heard.
    void remove(const QString &name) { m_names.removeAll(name); }
    /// The names of the sounds heard since the last call, in order.
    QStringList takeHeard() { return std::exchange(m_heard, {}); }

private:
    class FakeSound : public platform::Sound {
    public:
        FakeSound(FakeSounds &sounds, QString name) : m_sounds(sounds), m_name(std::move(name)) { }
        void play() override { m_sounds.m_heard.append(m_name); }

    private:
        FakeSounds &m_sounds;
        QString m_name;
    };

    QStringList m_names{QStringLiteral("Mail Sent.aiff"), QStringLiteral("Mail Not Sent.aiff")};
    QStringList m_heard;
};

} // namespace quillfen::world
