// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Sound.h"
#include "platform/linux/desktop/PlayerRun.h"

#include <QString>

#include <array>
#include <chrono>
#include <memory>

namespace quillfen::platform {

/// The sounds in a folder, played by the desktop's own player programs: only these know the way
/// to the loudspeakers on PulseAudio and PipeWire alike, and read AIFF. Without one of them, or
/// without a sound server, there is silence.
///
/// A few sounds are heard at the same time; those that would be too many are left out. What is
/// being played ends with this.
class SoundPlayer : public Sounds {
public:
    /// Loudspeakers that first have to wake up, on Bluetooth, take two seconds for it.
    static constexpr std::chrono::seconds kPatience{5};

    /// Plays the files in @p folder, an absolute path. One sound may take @p patience.
    explicit SoundPlayer(QString folder = standardFolder(),
                         std::chrono::milliseconds patience = kPatience);

    /// Where the program's sounds are, as seen from its own place: ../share/quillfen/sounds.
    static QString standardFolder();

    std::unique_ptr<Sound> load(const QString &name) override;

private:
    class FileSound;

    void play(const QByteArray &file);

    QString m_folder;
    std::array<PlayerRun, 4> m_runs;
};

} // namespace quillfen::platform
