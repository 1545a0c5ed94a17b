// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/commands/CommandOutput.h"

#include "platform/linux/desktop/StderrConsole.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

void pollForRoom(int descriptor)
{
    pollfd room = {.fd = descriptor, .events = POLLOUT, .revents = 0};
    poll(&room, 1, -1);
}

/// @returns 0, or the errno of what went wrong.
int writeAll(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), std::size_t(bytes.size()));
        if (written >= 0)
            bytes = bytes.sliced(written);
        else if (errno == EAGAIN) // somebody else made it non-blocking
            pollForRoom(descriptor);
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

} // namespace

CommandOutput::CommandOutput() : m_closed(fcntl(STDOUT_FILENO, F_GETFD) < 0) { }

int CommandOutput::print(const QByteArray &text) const
{
    return m_closed ? EBADF : writeAll(STDOUT_FILENO, text);
}

void command::complain(const QString &text)
{
    writeAll(STDERR_FILENO, withVisibleControls(u"quillfen: %1."_s.arg(text)).toUtf8() + '\n');
}

// poll(2) tells of an error on any descriptor, whatever else it was asked for. Nobody ever sends
// urgent data here.
ReaderWatch::ReaderWatch(std::function<void()> gone)
    : m_notifier(STDOUT_FILENO, QSocketNotifier::Exception)
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                     [this, gone = std::move(gone)] {
                         m_notifier.setEnabled(false);
                         gone();
                     });
}

} // namespace quillfen::platform
