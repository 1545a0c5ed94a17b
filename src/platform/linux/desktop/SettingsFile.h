// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>
#include <variant>

#include <sys/types.h>
#include <time.h>

namespace quillfen::platform {

/// One JSON object in one file: read, replaced as a whole, put aside. It remembers nothing, locks
/// nothing and tells nobody; JsonPreferences decides when to do what.
class SettingsFile {
public:
    /// What tells one state of a file from another without reading it.
    struct Identity {
        dev_t device;
        ino_t inode;
        off_t size;
        timespec modified;
        timespec changed;
    };
    struct Absent { };
    struct Good {
        QJsonObject object;
        /// Nothing when the file is so young (50 ms) that a change still to come could leave
        /// the same times: then it has to be read again.
        std::optional<Identity> identity;
    };
    /// Readable but useless; @c young when somebody may be writing it at this moment.
    struct Damaged {
        QString why;
        bool young;
    };
    struct Unreadable {
        QString why;
    };
    using Reading = std::variant<Absent, Good, Damaged, Unreadable>;

    /// Bytes. An external address of one megabyte, each character of it six in the file, finds room.
    static constexpr qint64 kLargest = 8 * 1024 * 1024;

    explicit SettingsFile(QString folder);

    QString path() const { return m_path; }
    QString lockPath() const;
    /// Whether a lock file can be taken there: nothing lies in its place, or a regular file. Any
    /// other thing is nobody's lock, and opening it can block or set a device going.
    bool isLockable() const;
    /// Whether the file's state is still @p identity: one stat(2).
    bool isStill(const Identity &identity) const;
    /// Reads the whole file. Never blocks on a FIFO or device in its place.
    Reading read() const;
    /// Makes the folder and what is missing above it, mode 0700. @returns why not, if so.
    std::optional<QString> makeFolder() const;
    /// Replaces the file by @p object, through a symbolic link, mode 0600. On failure the old
    /// file is as it was. @returns why it failed, if so.
    std::optional<QString> replace(const QJsonObject &object) const;
    /// Renames the file (a link: the link itself) to a name that is free.
    /// @returns the new path, nothing with errno set on failure.
    std::optional<QString> putAside() const;

private:
    QString m_folder;
    QString m_path;
    QByteArray m_encodedPath; ///< As the kernel has it: isStill() is asked for every log line.
};

} // namespace quillfen::platform
