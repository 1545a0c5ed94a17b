// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <memory>

namespace quillfen::platform {

/// A short sound, loaded and ready to be heard.
class Sound {
public:
    virtual ~Sound() = default;

    /// Plays the sound from its start, beside what is being played already. Returns at once and
    /// reports nothing: where there is nothing to hear it with, it is silent. It goes on when this
    /// is destroyed.
    virtual void play() = 0;
};

/// The sounds that come with the program.
class Sounds {
public:
    virtual ~Sounds() = default;

    /// Loads the sound of that file name, such as "Mail Sent.aiff".
    /// @returns null when there is no such file; otherwise a sound, which this must outlive.
    virtual std::unique_ptr<Sound> load(const QString &name) = 0;
};

} // namespace quillfen::platform
