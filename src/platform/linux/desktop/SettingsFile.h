// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/desktop/FileIdentity.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>
#include <variant>

namespace quillfen::platform {

/// One JSON object in one file: read, replaced as a whole, put aside. It remembers nothing, locks
/// nothing and tells nobody; JsonPreferences decides when to do what.
class SettingsFile {
public:
    struct Absent { };
    struct Good {
        QJsonObject object;
        /// Nothing when the file is so young (50 ms) that a change still to come could leave
        /// the same times: then it has to be read again.
        std::optional<FileIdentity> identity;
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

    struct Stored {
        /// That of the file as we wrote it, which no later change leaves, however soon it comes:
        /// we gave the file a time that nobody else gives it. Nothing where the file system does
        /// not keep such a time, or the file was written to meanwhile: then it has to be read.
        std::optional<FileIdentity> identity;
    };
    struct NotStored {
        QString why;
    };
    using Writing = std::variant<Stored, NotStored>;

    /// Bytes. An external address of one megabyte, each character of it six in the file, finds
    /// room.
    static constexpr qint64 kLargest = 8 * 1024 * 1024;

    explicit SettingsFile(QString folder);

    QString path() const { return m_path; }
    /// As the kernel has it.
    QByteArray encodedPath() const { return m_encodedPath; }
    QString lockPath() const;
    /// Whether a lock file can be taken there: nothing lies in its place, or a regular file. Any
    /// other thing is nobody's lock, and opening it can block or set a device going.
    bool isLockable() const;
    /// Reads the whole file. Never blocks on a FIFO or device in its place.
    Reading read() const;
    /// Makes the folder and what is missing above it, mode 0700. @returns why not, if so.
    std::optional<QString> makeFolder() const;
    /// Replaces the file by @p object, through a symbolic link, mode 0600. Where that fails, the
    /// old file is as it was.
    Writing replace(const QJsonObject &object) const;
    /// Renames the file (a link: the link itself) to a name that is free.
    /// @returns the new path, nothing with errno set on failure.
    std::optional<QString> putAside() const;

private:
    QString m_folder;
    QString m_path;
    QByteArray m_encodedPath;
};

} // namespace quillfen::platform
