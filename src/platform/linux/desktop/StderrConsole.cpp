// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/StderrConsole.h"

#include "platform/LineBuffer.h"
#include "platform/linux/desktop/UnixSignals.h"

#include <QDateTime>

#include <algorithm>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto kPatience = 20ms;
constexpr QByteArrayView kThousandths = ".000 ";

bool steersOrForges(char16_t c)
{
    return c < 0x20 || (c >= 0x7f && c <= 0x9f) // C0, DEL, C1
        || (c >= 0x2028 && c <= 0x202e) // separators, embeddings and overrides
        || (c >= 0x2066 && c <= 0x2069) // isolates
        || c == 0x061c || c == 0x200e || c == 0x200f;
}

/// Opens the null device on each of the numbers 0 to 2 that is closed.
void fillClosedStandardStreams()
{
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
}

QByteArray dateAndTime(std::time_t second)
{
    return QDateTime::fromSecsSinceEpoch(second).toString(u"yyyy-MM-dd HH:mm:ss"_s).toLatin1();
}

} // namespace

QString withVisibleControls(const QString &text)
{
    if (std::none_of(text.cbegin(), text.cend(),
                     [](QChar c) { return steersOrForges(c.unicode()); }))
        return text;
    QString visible;
    visible.reserve(text.size());
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if (!steersOrForges(code))
            visible += c;
        else if (code <= 0xff)
            visible += u"\\x%1"_s.arg(code, 2, 16, '0'_L1);
        else
            visible += u"\\u%1"_s.arg(code, 4, 16, '0'_L1);
    }
    return visible;
}

StderrConsole::StderrConsole()
    : m_process(
        withVisibleControls(
            u"%1[%2] "_s.arg(QString::fromLocal8Bit(program_invocation_short_name)).arg(getpid()))
            .toUtf8())
{
    ignoreSignalsOfFailedWrites();
    fillClosedStandardStreams();
    struct stat status = {};
    fstat(STDERR_FILENO, &status);
    if (S_ISSOCK(status.st_mode))
        m_way = Way::Send;
    if (!S_ISFIFO(status.st_mode) && !S_ISCHR(status.st_mode))
        return;
    // O_NONBLOCK belongs to the open pipe, which other processes share with us, and must not be
    // set there. Opening it anew through /proc gives one of our own.
    constexpr int kFlags = O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    m_descriptor = open("/proc/self/fd/2", kFlags);
    if (m_descriptor < 0) { // somebody else's terminal: only poll() keeps us from blocking
        m_descriptor = STDERR_FILENO;
        m_way = Way::PollAndWrite;
    }
}

StderrConsole::~StderrConsole()
{
    if (m_descriptor != STDERR_FILENO)
        close(m_descriptor);
}

void StderrConsole::write(const QString &text)
{
    LineBuffer line;
    if (m_amidLine)
        line.append('\n');
    line.append(front());
    if (!line.appendPlain(text))
        line.append(withVisibleControls(text));
    line.append('\n');
    const qsizetype sent = send(line.bytes());
    m_lostLast = sent < line.size();
    m_amidLine = sent > 0 ? m_lostLast : m_amidLine;
}

const QByteArray &StderrConsole::front()
{
    const auto now = std::chrono::system_clock::now();
    const auto second = std::chrono::floor<std::chrono::seconds>(now);
    if (m_front.isEmpty() || second != m_second) {
        m_second = second;
        m_front = dateAndTime(std::chrono::system_clock::to_time_t(second));
        m_front.append(kThousandths).append(m_process);
    }
    const int thousandths = int((now - second) / 1ms);
    char *const digits = m_front.data() + m_front.size() - m_process.size() - kThousandths.size();
    digits[1] = char('0' + thousandths / 100);
    digits[2] = char('0' + thousandths / 10 % 10);
    digits[3] = char('0' + thousandths % 10);
    return m_front;
}

qsizetype StderrConsole::send(QByteArrayView line) const
{
    std::optional<Deadline> deadline;
    qsizetype sent = 0;
    while (sent < line.size()) {
        const ssize_t taken = sendSome(line.data() + sent, std::size_t(line.size() - sent));
        if (taken > 0)
            sent += taken;
        else if (taken == 0 || !goesOn(errno, deadline))
            break;
    }
    return sent;
}

bool StderrConsole::goesOn(int error, std::optional<Deadline> &deadline) const
{
    if (error != EAGAIN)
        return error == EINTR;
    if (!deadline)
        deadline = std::chrono::steady_clock::now() + (m_lostLast ? 0ms : kPatience);
    return hasRoomBefore(*deadline);
}

ssize_t StderrConsole::sendSome(const char *bytes, std::size_t count) const
{
    switch (m_way) {
    case Way::Write:
        return ::write(m_descriptor, bytes, count);
    case Way::Send:
        return ::send(m_descriptor, bytes, count, MSG_DONTWAIT | MSG_NOSIGNAL);
    case Way::PollAndWrite:
        if (!hasRoomBefore(Deadline::min())) {
            errno = EAGAIN;
            return -1;
        }
        // pipe(7): with room for anything there is room for PIPE_BUF bytes.
        return ::write(m_descriptor, bytes, std::min(count, std::size_t(PIPE_BUF)));
    }
    return -1;
}

bool StderrConsole::hasRoomBefore(Deadline deadline) const
{
    const auto now = std::chrono::steady_clock::now();
    const auto left =
        deadline > now ? std::chrono::ceil<std::chrono::milliseconds>(deadline - now) : 0ms;
    pollfd room = {.fd = m_descriptor, .events = POLLOUT, .revents = 0};
    return poll(&room, 1, int(left.count())) > 0;
}

} // namespace quillfen::platform
