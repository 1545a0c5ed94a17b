// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/LogFile.h"

#include "support/DateDescription.h"
#include "support/FormatText.h"

#include <QByteArray>
#include <QFile>

#include <cassert>
#include <cerrno>
#include <chrono>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillfen::support {

namespace {

constexpr mode_t kOwnerOnly = 0600;

std::int16_t lastError()
{
    return static_cast<std::int16_t>(errno);
}

bool isPipe(int file)
{
    struct stat status { };
    return ::fstat(file, &status) == 0 && S_ISFIFO(status.st_mode);
}

QByteArray markerLine(QStringView format)
{
    return formatText(format, dateDescription(std::chrono::system_clock::now())).toUtf8();
}

/// Writes as much of @p text as goes. @returns how much that is; errno tells what stopped it.
qsizetype writeUntilRefused(int file, QByteArrayView text)
{
    qsizetype written = 0;
    while (written < text.size()) {
        const ssize_t more =
            ::write(file, text.data() + written, static_cast<std::size_t>(text.size() - written));
        if (more > 0)
            written += more;
        else if (more == 0 || errno != EINTR)
            break;
    }
    return written;
}

} // namespace

LogFile::~LogFile()
{
    close();
}

std::int16_t LogFile::open(const QString &path)
{
    assert(m_file < 0);
    // O_APPEND moves to the end with each write and in one step with it (open(2)).
    const int file =
        ::open(QFile::encodeName(path).constData(),
               O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, kOwnerOnly);
    if (file < 0)
        return lastError();
    if (isPipe(file)) { // its reader could end us with SIGPIPE by going away
        ::close(file);
        return ENXIO;
    }
    m_file = file;
    return append(markerLine(u"[%@] start\n"));
}

std::int16_t LogFile::append(QByteArrayView text)
{
    if (m_file < 0)
        return 0;
    QByteArray mended;
    if (m_lineBroken)
        mended.append('\n').append(text);
    const QByteArrayView whole = m_lineBroken ? QByteArrayView(mended) : text;
    const qsizetype written = writeUntilRefused(m_file, whole);
    if (written == whole.size()) {
        m_lineBroken = false;
        return 0;
    }
    const std::int16_t error = lastError();
    if (written > 0)
        m_lineBroken = whole[written - 1] != '\n';
    return error;
}

std::int16_t LogFile::close()
{
    if (m_file < 0)
        return 0;
    append(markerLine(u"[%@] stop\n"));
    return ::close(std::exchange(m_file, -1)) == 0 ? std::int16_t{0} : lastError();
}

} // namespace quillfen::support
