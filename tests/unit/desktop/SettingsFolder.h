// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace quillfen::platform {

/// A folder with a settings file in it, as an editor or another process sees it.
class SettingsFolder {
public:
    QString path() const { return m_folder.path(); }
    QString file() const { return path() + QStringLiteral("/settings.json"); }
    /// The names of all that is in it, in order.
    QStringList names() const
    {
        return QDir(path()).entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }
    /// Those of them that were put aside.
    QStringList aside() const { return names().filter(QStringLiteral("settings.json.damaged-")); }

    /// Writes the settings in place, as an editor may.
    void write(const QByteArray &bytes) const
    {
        QFile file(this->file());
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(this->file()));
    }
    QByteArray bytes() const { return bytesOf(file()); }
    QByteArray bytesOf(const QString &path) const
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return file.readAll();
    }
    QJsonObject object() const { return QJsonDocument::fromJson(bytes()).object(); }

    static unsigned mode(const QString &path)
    {
        struct stat status = {};
        if (stat(QFile::encodeName(path).constData(), &status) != 0)
            return 0;
        return status.st_mode & 07777U;
    }

private:
    QTemporaryDir m_folder;
};

} // namespace quillfen::platform
