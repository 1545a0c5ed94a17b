// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace quillfen::support {

/// A user's folder for application data, empty at first, which this process takes for its own.
class DataHome {
public:
    DataHome() : DataHome(QString()) { }
    /// In @p place, which exists, or in a temporary folder where that is empty.
    explicit DataHome(const QString &place) : m_place(place.isEmpty() ? m_own.path() : place)
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_place));
    }
    ~DataHome() { qunsetenv("XDG_DATA_HOME"); }
    DataHome(const DataHome &) = delete;
    DataHome &operator=(const DataHome &) = delete;

    QString path() const { return m_place; }
    QString makerFolder() const { return path() + QStringLiteral("/Corvane Software"); }
    QString programFolder() const { return makerFolder() + QStringLiteral("/Quillfen"); }
    QString logPath() const { return programFolder() + QStringLiteral("/Quillfen.log"); }

    void makeProgramFolder() const { QDir().mkpath(programFolder()); }

    /// The log's bytes; nothing when it cannot be read.
    QByteArray log() const
    {
        QFile file(logPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// The log's lines without their ends, each date at the front of a line as "date".
    QStringList logLines() const
    {
        static const QRegularExpression date(QStringLiteral(
            "^\\[[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} [-+][0-9]{4}\\]"));
        QStringList lines = QString::fromUtf8(log()).split(u'\n');
        for (QString &line : lines)
            line.replace(date, QStringLiteral("[date]"));
        if (lines.last().isEmpty())
            lines.removeLast();
        return lines;
    }

private:
    QTemporaryDir m_own;
    QString m_place;
};

} // namespace quillfen::support
