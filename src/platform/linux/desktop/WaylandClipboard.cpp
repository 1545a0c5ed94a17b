// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/WaylandClipboard.h"

#include "platform/SystemConsole.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" { // as glibc 2.36 forgets to say
#include <sys/pidfd.h>
}

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

/// A file in memory that holds @p text and is read from its start; -1 and errno on failure.
///
/// No pipe: its other end would have to be fed, and what one that breaks off has got so far would
/// be copied as if it were all.
int memoryFile(const QByteArray &text)
{
    const int file = memfd_create("clipboard", MFD_CLOEXEC);
    if (file < 0)
        return -1;
    // One write(2) takes all of a text that a QByteArray can hold, or there is no memory for it.
    if (pwrite(file, text.constData(), static_cast<std::size_t>(text.size()), 0) == text.size())
        return file;
    close(file);
    errno = ENOMEM;
    return -1;
}

/// Starts wl-copy with the file @p input as standard input. What it leaves behind to be asked for
/// the text must not hold our outputs open, whose readers would wait for their end for ever, nor
/// end with the terminal that we were started from.
/// @returns an error number, 0 for none.
int spawnCopier(int input, pid_t &copier)
{
    std::array<char, 8> name{"wl-copy"};
    std::array<char, 3> option{"-t"};
    std::array<char, 25> type{"text/plain;charset=utf-8"};
    const std::array<char *, 4> arguments{name.data(), option.data(), type.data(), nullptr};

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&files, output, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    const int error =
        posix_spawnp(&copier, name.data(), &files, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return error;
}

} // namespace

WaylandClipboard::WaylandClipboard(SystemConsole &console, std::chrono::milliseconds patience)
    : m_console(console)
{
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(patience);
    QObject::connect(&m_deadline, &QTimer::timeout, &m_deadline, [this] { giveUp(); });
    QObject::connect(&m_end, &QSocketNotifier::activated, &m_end, [this] { finish(); });
}

WaylandClipboard::~WaylandClipboard()
{
    if (!m_end.isEnabled())
        return;
    m_end.setEnabled(false);
    close(static_cast<int>(m_end.socket()));
}

void WaylandClipboard::setText(const QByteArray &text)
{
    if (m_end.isEnabled())
        m_waiting = text;
    else
        start(text);
}

void WaylandClipboard::start(const QByteArray &text)
{
    const int input = memoryFile(text);
    if (input < 0)
        return complain(qt_error_string(errno));
    pid_t copier = 0;
    const int error = spawnCopier(input, copier);
    close(input);
    if (error != 0)
        return complain(u"wl-copy cannot be started: "_s + qt_error_string(error));
    const int end = pidfd_open(copier, 0);
    if (end < 0)
        return complain(u"wl-copy cannot be watched: "_s + qt_error_string(errno));
    m_end.setSocket(end);
    m_end.setEnabled(true);
    m_deadline.start();
}

void WaylandClipboard::giveUp()
{
    pidfd_send_signal(static_cast<int>(m_end.socket()), SIGKILL, nullptr, 0);
}

void WaylandClipboard::finish()
{
    const bool inTime = m_deadline.isActive();
    m_deadline.stop();
    const auto end = static_cast<int>(m_end.socket());
    m_end.setEnabled(false);
    siginfo_t how = {};
    waitid(P_PIDFD, static_cast<id_t>(end), &how, WEXITED);
    close(end);
    if (how.si_status != 0)
        complain(inTime ? u"wl-copy failed with status %1"_s.arg(how.si_status)
                        : u"wl-copy took too long"_s);
    if (m_waiting)
        start(*std::exchange(m_waiting, std::nullopt));
}

void WaylandClipboard::complain(const QString &reason)
{
    m_console.write(u"The text is not on the clipboard: %1."_s.arg(reason));
}

} // namespace quillfen::platform
