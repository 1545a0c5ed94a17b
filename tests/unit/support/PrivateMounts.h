// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace quillfen::support {

/// Gives this process a view of the file system of its own, in which it may mount, until it
/// ends. Call it while the process has one thread. @returns false when the kernel refuses.
/// @source mount_namespaces(7), user_namespaces(7).
inline bool enterPrivateMounts()
{
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0)
        return false;
    if (user != 0) { // the same user and group as before, but able to mount
        const auto write = [](const QString &path, const QByteArray &text) {
            QFile file(path);
            return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
                && file.write(text) == text.size();
        };
        const auto itself = [](uint id) {
            return QByteArray::number(id) + ' ' + QByteArray::number(id) + " 1";
        };
        if (!write(QStringLiteral("/proc/self/setgroups"), "deny")
            || !write(QStringLiteral("/proc/self/uid_map"), itself(user))
            || !write(QStringLiteral("/proc/self/gid_map"), itself(group)))
            return false;
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// A disk of 64 KiB, mounted on a folder of this process's own view of the file system.
class TinyDisk {
public:
    explicit TinyDisk(const QString &folder) : m_folder(QFile::encodeName(folder))
    {
        m_mounted = ::mount("tmpfs", m_folder.constData(), "tmpfs", 0, "size=64k") == 0;
    }
    ~TinyDisk() { ::umount2(m_folder.constData(), MNT_DETACH); }
    TinyDisk(const TinyDisk &) = delete;
    TinyDisk &operator=(const TinyDisk &) = delete;

    bool mounted() const { return m_mounted; }
    /// Takes no writes any more. @returns false when a file is open for writing.
    bool makeReadOnly()
    {
        return ::mount(nullptr, m_folder.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr)
            == 0;
    }
    /// Leaves no free page. @returns whether the disk is full now.
    bool fill()
    {
        QFile ballast(ballastPath());
        if (!ballast.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
            return false;
        const QByteArray page(4096, '#');
        while (ballast.write(page) == page.size()) { }
        return true;
    }
    bool free() { return QFile::remove(ballastPath()); }

private:
    QString ballastPath() const { return QFile::decodeName(m_folder) + QStringLiteral("/ballast"); }

    QByteArray m_folder;
    bool m_mounted = false;
};

} // namespace quillfen::support
