// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeSound.h"

#include <utility>

namespace quillfen::world {

class FakeSounds::FakeSound : public platform::Sound {
public:
    FakeSound(FakeSounds &sounds, QString name) : m_sounds(sounds), m_name(std::move(name)) { }
    void play() override { m_sounds.m_heard.append(m_name); }

private:
    FakeSounds &m_sounds;
    QString m_name;
};

FakeSounds::FakeSounds()
    : m_names{QStringLiteral("Mail Sent.aiff"), QStringLiteral("Mail Not Sent.aiff")}
{ }

FakeSounds::~FakeSounds() = default;

std::unique_ptr<platform::Sound> FakeSounds::load(const QString &name)
{
    if (!m_names.contains(name))
        return nullptr;
    return std::make_unique<FakeSound>(*this, name);
}

void FakeSounds::remove(const QString &name)
{
    m_names.removeAll(name);
}

QStringList FakeSounds::takeHeard()
{
    return std::exchange(m_heard, {});
}

} // namespace quillfen::world
