// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <cstddef>

namespace quillfen::platform {

/// One sound file at a time, being played by a child process: by the first of the desktop's
/// players that can. Main thread only.
///
/// A player that does not finish in time is killed, and none is tried after it. Destroying this
/// kills the player under way and does not wait for its end.
/// @source paplay(1), pw-play(1)
class PlayerRun {
public:
    /// One sound may take @p patience.
    explicit PlayerRun(std::chrono::milliseconds patience);
    ~PlayerRun();
    PlayerRun(const PlayerRun &) = delete;
    PlayerRun &operator=(const PlayerRun &) = delete;

    bool isUnderWay() const { return m_end.isEnabled(); }
    /// Plays the file at the absolute path @p file; not while a run is under way. Returns at once.
    void start(const QByteArray &file);

private:
    void tryPlayers();
    bool watch(int player);
    void kill();
    void finish();

    QByteArray m_file;
    std::size_t m_next = 0; ///< Which player to try if this one cannot.
    QTimer m_deadline;
    /// Of a pidfd, while a player runs: readable when it has ended.
    QSocketNotifier m_end{QSocketNotifier::Read};
};

} // namespace quillfen::platform
