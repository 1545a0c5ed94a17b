// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SettingsFile.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QSaveFile>
#include <QScopeGuard>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

bool sameTime(const timespec &one, const timespec &other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

QString lastError()
{
    return qt_error_string(errno);
}

SettingsFile::Reading parse(const QByteArray &bytes, const struct stat &status)
{
    const FileIdentity identity = FileIdentity::of(status);
    const bool young = identity.isYoung();
    if (bytes.size() > SettingsFile::kLargest)
        return SettingsFile::Damaged{.why = u"it is longer than 8 MiB"_s, .young = young};
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return SettingsFile::Damaged{.why = error.errorString(), .young = young};
    if (!document.isObject())
        return SettingsFile::Damaged{.why = u"it is no JSON object"_s, .young = young};
    SettingsFile::Good good{.object = document.object(), .identity = {}};
    if (identity.isSettled())
        good.identity = identity;
    return good;
}

bool makeFolders(const QString &folder)
{
    const QByteArray path = QFile::encodeName(folder);
    if (mkdir(path.constData(), S_IRWXU) == 0 || errno == EEXIST)
        return true;
    const QString above = QFileInfo(folder).path();
    if (errno != ENOENT || above == folder)
        return false;
    return makeFolders(above) && (mkdir(path.constData(), S_IRWXU) == 0 || errno == EEXIST);
}

/// Renames without ever replacing anything.
bool renameToFree(const QByteArray &from, const QByteArray &to)
{
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL)
        return false;
    // Some network file systems do not know the flag (rename(2)).
    struct stat status = {};
    if (lstat(to.constData(), &status) == 0)
        errno = EEXIST;
    return errno == ENOENT && rename(from.constData(), to.constData()) == 0;
}

/// Reads up to @p most bytes of the open @p file, of which it is said to have @p said.
/// @returns nothing, with errno set, where that fails.
std::optional<QByteArray> readAtMost(int file, qint64 most, qint64 said)
{
    QByteArray bytes(std::min(said + 1, most), Qt::Uninitialized);
    qsizetype filled = 0;
    for (;;) {
        const auto room = static_cast<std::size_t>(bytes.size() - filled);
        const ssize_t more = ::read(file, bytes.data() + filled, room);
        if (more < 0 && errno != EINTR)
            return {};
        filled += std::max<ssize_t>(more, 0);
        if (more == 0 || filled == most)
            break;
        if (filled == bytes.size()) // it has grown meanwhile
            bytes.resize(std::min(2 * filled, most));
    }
    bytes.truncate(filled);
    return bytes;
}

/// Writes all of @p bytes, or @p file tells why not: where a part of them still had room, it does
/// so for the next write only.
bool writeAll(QSaveFile &file, const QByteArray &bytes)
{
    qint64 written = 0;
    while (written < bytes.size()) {
        const qint64 more = file.write(bytes.constData() + written, bytes.size() - written);
        if (more <= 0)
            return false;
        written += more;
    }
    return true;
}

/// Gives the open @p file, of which nobody else knows yet, this moment as its time. What others
/// write to it gets the time of the kernel's last tick (up to 10 ms ago), or, where files get exact
/// times (since Linux 6.13), a later one: never this one. So it tells the file as it is now even
/// from what it becomes within the same tick.
/// @returns that time; nothing where the clock knows no time between two ticks.
std::optional<timespec> stampBetweenTicks(int file)
{
    timespec tick = {};
    clock_gettime(CLOCK_REALTIME_COARSE, &tick);
    std::array<timespec, 2> times = {{{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, {}}};
    timespec &now = times[1];
    clock_gettime(CLOCK_REALTIME, &now);
    if (sameTime(now, tick) || futimens(file, times.data()) != 0)
        return {};
    return now;
}

/// That of the open @p file if it still has the time @p stamp.
std::optional<FileIdentity> identityIfStamped(int file, const std::optional<timespec> &stamp)
{
    struct stat status = {};
    if (!stamp || fstat(file, &status) != 0 || !sameTime(status.st_mtim, *stamp))
        return {};
    return FileIdentity::of(status);
}

} // namespace

SettingsFile::SettingsFile(QString folder)
    : m_folder(std::move(folder)),
      m_path(m_folder + "/settings.json"_L1),
      m_encodedPath(QFile::encodeName(m_path))
{ }

QString SettingsFile::lockPath() const
{
    return m_path + ".lock"_L1;
}

bool SettingsFile::isLockable() const
{
    struct stat status = {};
    // A link does not count as what it leads to: a lock file is made without following any.
    return lstat(QFile::encodeName(lockPath()).constData(), &status) != 0
        || S_ISREG(status.st_mode);
}

SettingsFile::Reading SettingsFile::read() const
{
    const Damaged noFile{.why = u"it is no regular file"_s, .young = false};
    struct stat status = {};
    if (stat(m_encodedPath.constData(), &status) != 0) {
        if (errno == ENOENT)
            return Absent{};
        return Unreadable{lastError()};
    }
    if (!S_ISREG(status.st_mode)) // never opened: that alone can block or set a device going
        return noFile;

    // By system calls alone, as few as can be: each change of an address makes us read.
    const int file = open(m_encodedPath.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return Unreadable{lastError()};
    const auto closing = qScopeGuard([file] { close(file); });
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return noFile;
    const std::optional<QByteArray> bytes = readAtMost(file, kLargest + 1, status.st_size);
    if (!bytes)
        return Unreadable{lastError()};
    return parse(*bytes, status);
}

std::optional<QString> SettingsFile::makeFolder() const
{
    if (makeFolders(m_folder))
        return {};
    return lastError();
}

SettingsFile::Writing SettingsFile::replace(const QJsonObject &object) const
{
    const QByteArray bytes = QJsonDocument(object).toJson();
    if (bytes.size() > kLargest)
        return NotStored{u"they are longer than 8 MiB"_s};
    // Unbuffered: with a buffer, Qt 6.4 notices a full disk only when it empties the buffer inside
    // commit(), puts the empty file in place all the same and reports success.
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return NotStored{file.errorString()};
    if (!file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
        || !writeAll(file, bytes)) {
        const QString why = file.errorString();
        file.cancelWriting();
        return NotStored{why};
    }
    // commit() closes its own, and by then what stands at the path may be another's.
    const int ours = fcntl(file.handle(), F_DUPFD_CLOEXEC, 0);
    const auto closing = qScopeGuard([ours] { close(ours); });
    const std::optional<timespec> stamp = stampBetweenTicks(ours);
    if (!file.commit())
        return NotStored{file.errorString()};
    return Stored{identityIfStamped(ours, stamp)};
}

std::optional<QString> SettingsFile::putAside() const
{
    const QString now = QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
    const QString plain = m_path + ".damaged-"_L1 + now;
    constexpr int kMostInOneSecond = 100;
    for (int number = 1; number <= kMostInOneSecond; ++number) {
        const QString name = number == 1 ? plain : u"%1-%2"_s.arg(plain).arg(number);
        if (renameToFree(QFile::encodeName(m_path), QFile::encodeName(name)))
            return name;
        if (errno != EEXIST)
            break;
    }
    return {};
}

} // namespace quillfen::platform
