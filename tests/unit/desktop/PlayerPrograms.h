// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <cstddef>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillfen::platform {

/// While it lives, all programs that this process finds: those of a folder, empty at first, in
/// which a test can put players. What they do goes to files beside them.
class PlayerPrograms {
public:
    /// Plays its file: the words that it was started with become a line of "heard".
    static constexpr auto kPlays = "heard=; for word; do heard=\"$heard|$word\"; done; "
                                   "echo \"${0##*/}$heard\" >>$here/heard";
    /// Says that it has started, and waits for a line in "gate" before it plays.
    static constexpr auto kWaits = "echo $$ >>$here/waits; read -r go <$here/gate";
    static constexpr auto kHangs = "echo $$ >>$here/waits; exec tail -f /dev/null";
    static constexpr auto kFails = "echo ${0##*/} >>$here/failed; exit 1";

    PlayerPrograms() : m_path(qgetenv("PATH"))
    {
        if (mkfifo(file("gate").constData(), S_IRWXU) != 0)
            qFatal("no gate");
        // For both ways: so nobody waits to open it, and what is written stays for whoever comes.
        m_gate = open(file("gate").constData(), O_RDWR | O_CLOEXEC);
        qputenv("PATH", QFile::encodeName(m_folder.path()));
    }
    ~PlayerPrograms()
    {
        qputenv("PATH", m_path);
        close(m_gate);
    }
    PlayerPrograms(const PlayerPrograms &) = delete;
    PlayerPrograms &operator=(const PlayerPrograms &) = delete;

    /// Puts a program of that name there, which does what the shell's @p commands do, $here being
    /// the folder.
    void install(const QByteArray &name, const QByteArray &commands) const
    {
        const QString path = QFile::decodeName(file(name));
        QFile::remove(path); // one that runs keeps its commands
        QFile script(path);
        if (!script.open(QIODevice::WriteOnly))
            qFatal("no script");
        script.write("#!/bin/sh\nPATH=/usr/bin:/bin\nhere='" + QFile::encodeName(m_folder.path())
                     + "'\n" + commands + '\n');
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    /// Lets so many programs go on that wait, or will.
    void letPass(int count) const
    {
        const QByteArray lines(count, '\n');
        if (write(m_gate, lines.constData(), std::size_t(count)) != count)
            qFatal("no passage");
    }

    /// Puts a sound there. @returns the folder.
    QString folderWithSound(const QString &name) const
    {
        QFile sound(m_folder.filePath(name));
        if (!sound.open(QIODevice::WriteOnly))
            qFatal("no sound");
        return m_folder.path();
    }

    /// The finished lines that programs have written to their file @p name.
    QByteArrayList lines(const QByteArray &name) const
    {
        QFile file(QFile::decodeName(this->file(name)));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QByteArrayList lines = file.readAll().split('\n');
        lines.removeLast(); // after the last line's end
        return lines;
    }
    QByteArray file(const QByteArray &name) const
    {
        return QFile::encodeName(m_folder.path()) + '/' + name;
    }

private:
    QTemporaryDir m_folder;
    QByteArray m_path; ///< PATH as it was before.
    int m_gate = -1;
};

} // namespace quillfen::platform
