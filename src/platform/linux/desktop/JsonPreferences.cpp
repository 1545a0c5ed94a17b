// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/JsonPreferences.h"

#include "platform/SystemConsole.h"

#include <QLockFile>
#include <QThread>

#include <cerrno>
#include <chrono>

namespace quillfen::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto kLockPatience = 250ms;
/// A lock file of this age that no living process holds is left over. (A dead owner that is
/// named in it counts at once; but one can die before it has written its name.) Less than the
/// patience: a program that is started anew at once stores what it stores.
constexpr auto kLeftOver = 150ms;

/// Why @p lock could not be taken, where errno was @p error then. Qt itself tells causes apart no
/// further than into three.
QString whyNot(const QLockFile &lock, int error)
{
    if (lock.error() == QLockFile::LockFailedError)
        return u"another process holds it"_s;
    if (error == 0)
        return u"it cannot be made"_s;
    return u"it cannot be made (%1)"_s.arg(qt_error_string(error));
}

/// QLockFile's own waiting goes in steps of 100 ms and more; the lock is held for one or two.
bool lockWithin(QLockFile &lock, std::chrono::milliseconds patience)
{
    // QLockFile also holds a flock(2) and takes no file away from under one.
    lock.setStaleLockTime(int(std::chrono::milliseconds(kLeftOver).count()));
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!lock.tryLock(0)) {
        if (lock.error() != QLockFile::LockFailedError
            || std::chrono::steady_clock::now() >= deadline)
            return false;
        QThread::usleep(500);
    }
    return true;
}

} // namespace

JsonPreferences::JsonPreferences(SystemConsole &console, const QString &folder)
    : m_console(console),
      m_file(folder),
      m_hasPlace(!folder.isEmpty())
{ }

QString JsonPreferences::standardFolder()
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (!base.startsWith(u'/')) {
        // Not QDir::homePath(): without HOME that is the root folder, which is nobody's home.
        const QString home = qEnvironmentVariable("HOME");
        if (!home.startsWith(u'/'))
            return {};
        base = home + "/.config"_L1;
    }
    return base + "/com.corvane.Quillfen"_L1;
}

std::optional<QJsonValue> JsonPreferences::value(const QString &key) const
{
    for (const QJsonObject *values : {&m_pending, &m_stored}) {
        if (const auto found = values->constFind(key); found != values->constEnd())
            return *found;
    }
    return {};
}

void JsonPreferences::setValue(const QString &key, const QJsonValue &value)
{
    m_pending.insert(key, value);
    ++m_generation;
}

bool JsonPreferences::synchronize()
{
    if (!m_hasPlace) {
        complain(u"The settings are forgotten at the end: neither XDG_CONFIG_HOME nor HOME is an "
                 "absolute path."_s);
        return m_pending.isEmpty();
    }
    if (m_pending.isEmpty() && m_seen && m_seen->isStill())
        return true;
    const bool well = m_pending.isEmpty() ? readAgain() : store();
    if (well)
        m_said.clear();
    return m_pending.isEmpty();
}

bool JsonPreferences::readAgain()
{
    const SettingsFile::Reading reading = m_file.read();
    const auto *damaged = std::get_if<SettingsFile::Damaged>(&reading);
    if (!damaged || damaged->young)
        return take(reading);
    // Another process may be about to mend or replace it: look again with the lock held.
    QLockFile lock(m_file.lockPath());
    if (takeLock(lock))
        return take(m_file.read());
    complain(u"%1 cannot be used (%2)"_s.arg(m_file.path(), damaged->why));
    return false;
}

bool JsonPreferences::store()
{
    if (const std::optional<QString> why = m_file.makeFolder()) {
        complain(u"The folder of %1 cannot be made: %2"_s.arg(m_file.path(), *why));
        return false;
    }
    QLockFile lock(m_file.lockPath());
    if (!takeLock(lock) || !take(m_file.read()))
        return false;

    QJsonObject merged = m_stored;
    for (auto it = m_pending.constBegin(); it != m_pending.constEnd(); ++it)
        merged.insert(it.key(), it.value());
    if (merged != m_stored) {
        const SettingsFile::Writing writing = m_file.replace(merged);
        if (const auto *failed = std::get_if<SettingsFile::NotStored>(&writing)) {
            complain(
                u"The settings cannot be stored in %1 now: %2"_s.arg(m_file.path(), failed->why));
            return false;
        }
        m_stored = merged;
        see(std::get<SettingsFile::Stored>(writing).identity);
    }
    m_pending = {};
    return true;
}

bool JsonPreferences::takeLock(QLockFile &lock)
{
    if (!m_file.isLockable()) {
        complain(u"The settings wait for %1: it is no regular file"_s.arg(m_file.lockPath()));
        return false;
    }
    // Whoever holds it for so long may do so for longer; wait for it only once.
    errno = 0;
    if (lockWithin(lock, m_lockWasBusy ? 0ms : kLockPatience)) {
        m_lockWasBusy = false;
        return true;
    }
    m_lockWasBusy = true;
    const QString why = whyNot(lock, errno);
    complain(u"The settings wait for %1: %2"_s.arg(m_file.lockPath(), why));
    return false;
}

bool JsonPreferences::take(const SettingsFile::Reading &reading)
{
    m_seen.reset();
    ++m_generation;
    if (const auto *damaged = std::get_if<SettingsFile::Damaged>(&reading)) {
        if (damaged->young)
            return false; // somebody is writing it: what we know still holds
        m_stored = {};
        return putAside(damaged->why);
    }
    m_stored = {};
    if (const auto *unreadable = std::get_if<SettingsFile::Unreadable>(&reading)) {
        complain(u"The settings in %1 cannot be read: %2"_s.arg(m_file.path(), unreadable->why));
        return false;
    }
    if (const auto *good = std::get_if<SettingsFile::Good>(&reading)) {
        m_stored = good->object;
        see(good->identity);
    }
    return true;
}

void JsonPreferences::see(const std::optional<FileIdentity> &identity)
{
    m_seen.reset();
    if (identity)
        m_seen.emplace(m_file.encodedPath(), *identity);
}

bool JsonPreferences::putAside(const QString &why)
{
    if (const std::optional<QString> aside = m_file.putAside()) {
        complain(u"%1 cannot be used (%2); it is kept as %3"_s.arg(m_file.path(), why, *aside));
        return true;
    }
    complain(u"%1 cannot be used (%2) and not be put aside: %3"_s.arg(m_file.path(), why,
                                                                      qt_error_string(errno)));
    return false;
}

void JsonPreferences::complain(const QString &text)
{
    if (m_said.insert(text).second)
        m_console.write(text);
}

} // namespace quillfen::platform
