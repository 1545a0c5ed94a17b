// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/BusReturn.h"

#include "platform/linux/bus/LocalSockets.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <chrono>
#include <utility>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

// A socket is there before the bus listens at it; and another bus may be about to be started.
constexpr int kTries = 5;
constexpr std::chrono::milliseconds kFirstPause = 50ms; // each is twice as long as the one before

/// The folders in which the sockets at @p addresses lie, as far as these lie in any.
QStringList foldersOf(const QByteArray &addresses)
{
    QStringList folders;
    for (const LocalSocket &socket : localSockets(addresses).value_or(std::vector<LocalSocket>())) {
        const QFileInfo file(QFile::decodeName(socket.address.sun_path));
        if (file.isAbsolute() && QFileInfo(file.path()).isDir())
            folders += file.path();
    }
    return folders;
}

} // namespace

BusReturn::SocketFiles BusReturn::socketFiles() const
{
    SocketFiles files;
    for (const LocalSocket &socket :
         localSockets(m_addresses).value_or(std::vector<LocalSocket>())) {
        struct stat status = {};
        if (stat(socket.address.sun_path, &status) == 0 && S_ISSOCK(status.st_mode))
            files.push_back({.device = status.st_dev,
                             .number = status.st_ino,
                             .seconds = status.st_ctim.tv_sec,
                             .nanoseconds = status.st_ctim.tv_nsec});
    }
    return files;
}

BusReturn::BusReturn(QByteArray addresses, const std::optional<QDBusConnection> &bus)
    : m_addresses(std::move(addresses))
{
    m_again.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, &BusReturn::knock);
    connect(&m_folders, &QFileSystemWatcher::directoryChanged, this, &BusReturn::folderChanged);
    if (bus)
        follow(*bus);
    else
        busEnded();
}

BusReturn::~BusReturn()
{
    if (!m_name.isEmpty())
        QDBusConnection::disconnectFromBus(m_name);
}

void BusReturn::follow(QDBusConnection bus)
{
    bus.connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s,
                u"Disconnected"_s, this, SLOT(busEnded()));
}

void BusReturn::busEnded()
{
    watchFolders();
    lookAnew();
}

void BusReturn::watchFolders()
{
    if (const QStringList folders = foldersOf(m_addresses); !folders.isEmpty())
        m_folders.addPaths(folders);
}

void BusReturn::folderChanged()
{
    // Most of what changes there is other programs'.
    if (const SocketFiles files = socketFiles(); !files.empty() && files != m_knockedAt)
        lookAnew();
}

void BusReturn::lookAnew()
{
    m_knockedAt = socketFiles();
    m_tries = 0;
    knock();
}

void BusReturn::knock()
{
    if (m_knock)
        return;
    m_again.stop();
    m_knock = std::make_unique<BusKnock>(m_addresses);
    connect(m_knock.get(), &BusKnock::answered, this, &BusReturn::comeBack);
    connect(m_knock.get(), &BusKnock::absent, this, &BusReturn::takeNoForAnAnswer);
    m_knock->start();
}

void BusReturn::takeNoForAnAnswer()
{
    if (m_knock)
        m_knock.release()->deleteLater(); // it is what calls us
    if (m_tries < kTries)
        m_again.start(kFirstPause * (1 << m_tries++));
}

void BusReturn::comeBack()
{
    m_knock.release()->deleteLater(); // it is what calls us
    if (!m_name.isEmpty())
        QDBusConnection::disconnectFromBus(m_name);
    m_name = u"quillfen-session-"_s + QUuid::createUuid().toString(QUuid::Id128);
    const QDBusConnection bus =
        QDBusConnection::connectToBus(QString::fromLatin1(m_addresses), m_name);
    if (!bus.isConnected()) {
        takeNoForAnAnswer();
        return;
    }
    if (const QStringList watched = m_folders.directories(); !watched.isEmpty())
        m_folders.removePaths(watched);
    follow(bus);
    Q_EMIT returned(bus);
}

} // namespace quillfen::platform
