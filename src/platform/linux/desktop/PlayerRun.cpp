// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/PlayerRun.h"

#include <array>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" { // as glibc 2.36 forgets to say
#include <sys/pidfd.h>
}

namespace quillfen::platform {

namespace {

/// A player and its option that makes the sound one of the desktop's own, with their volume.
struct Player {
    const char *program;
    const char *option;
};

// PulseAudio's comes first: it reaches PipeWire too, where that is what plays. PipeWire's own would
// also take a PipeWire that is only there for video, and not be heard.
constexpr std::array kPlayers{
    Player{.program = "paplay", .option = "--property=media.role=event"},
    Player{.program = "pw-play", .option = "--media-role=Notification"},
};

/// Starts a player. It gets nothing of ours but the environment.
/// @returns its process id; 0 if it cannot be started.
pid_t spawn(const Player &player, QByteArray file)
{
    QByteArray program(player.program);
    QByteArray option(player.option);
    const std::array<char *, 4> arguments{program.data(), option.data(), file.data(), nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&files, output, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, player.program, &files, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    return error == 0 ? child : 0;
}

} // namespace

PlayerRun::PlayerRun(std::chrono::milliseconds patience)
{
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(patience);
    QObject::connect(&m_deadline, &QTimer::timeout, &m_deadline, [this] { kill(); });
    QObject::connect(&m_end, &QSocketNotifier::activated, &m_end, [this] { finish(); });
}

PlayerRun::~PlayerRun()
{
    if (!isUnderWay())
        return;
    kill();
    m_end.setEnabled(false);
    close(static_cast<int>(m_end.socket()));
}

void PlayerRun::start(const QByteArray &file)
{
    m_file = file;
    m_next = 0;
    m_deadline.start();
    tryPlayers();
}

void PlayerRun::tryPlayers()
{
    while (m_next < kPlayers.size()) {
        const pid_t player = spawn(kPlayers.at(m_next++), m_file);
        if (player != 0 && watch(player))
            return;
    }
    m_deadline.stop();
}

/// Has finish() called at the end of @p player.
/// @returns false if that cannot be, for want of descriptors; the player is gone then.
bool PlayerRun::watch(pid_t player)
{
    const int end = pidfd_open(player, 0);
    if (end < 0) {
        ::kill(player, SIGKILL);
        waitpid(player, nullptr, 0); // no waiting to speak of: it was killed
        return false;
    }
    m_end.setSocket(end);
    m_end.setEnabled(true);
    return true;
}

void PlayerRun::kill()
{
    pidfd_send_signal(static_cast<int>(m_end.socket()), SIGKILL, nullptr, 0);
}

void PlayerRun::finish()
{
    const auto end = static_cast<int>(m_end.socket());
    m_end.setEnabled(false);
    siginfo_t how = {};
    waitid(P_PIDFD, static_cast<id_t>(end), &how, WEXITED);
    close(end);
    if (how.si_status != 0 && m_deadline.isActive())
        tryPlayers();
    else
        m_deadline.stop();
}

} // namespace quillfen::platform
