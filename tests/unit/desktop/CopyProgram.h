// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillfen::platform {

/// While it lives, the wl-copy that this process finds: a clipboard in a folder, in whose place
/// the test can put something else.
class CopyProgram {
public:
    /// Takes its standard input for what is copied, all of it or nothing.
    static constexpr auto kCopies = "cat >$here/part; mv $here/part $here/copied";
    /// As kCopies, but waits in between for letPass().
    static constexpr auto kWaits = "cat >$here/part; echo $$ >>$here/waits; "
                                   "read -r go <$here/gate; mv $here/part $here/copied";

    CopyProgram() : m_path(qgetenv("PATH"))
    {
        if (mkfifo(file("gate").constData(), S_IRWXU) != 0)
            qFatal("no gate");
        behave(kCopies);
        qputenv("PATH", QFile::encodeName(m_folder.path()) + ':' + m_path);
    }
    ~CopyProgram() { qputenv("PATH", m_path); }
    CopyProgram(const CopyProgram &) = delete;
    CopyProgram &operator=(const CopyProgram &) = delete;

    /// From its next start on it does what the shell's @p commands do, $here being its folder.
    void behave(const QByteArray &commands) const
    {
        unlink(file("wl-copy").constData()); // one that runs keeps its commands
        QFile script(QFile::decodeName(file("wl-copy")));
        if (!script.open(QIODevice::WriteOnly))
            qFatal("no script");
        script.write("#!/bin/sh\nhere='" + QFile::encodeName(m_folder.path())
                     + "'\necho $$ >>$here/starts\n" + commands + '\n');
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    void uninstall() const { qputenv("PATH", file("nowhere")); }

    /// Lets the program that waits go on.
    void letPass() const
    {
        const int gate = open(file("gate").constData(), O_WRONLY | O_CLOEXEC);
        if (write(gate, "\n", 1) != 1)
            qFatal("nobody at the gate");
        close(gate);
    }

    /// What is on the clipboard; null as long as nothing is.
    QByteArray copied() const { return contents("copied"); }
    /// The process ids of its runs so far.
    QByteArrayList starts() const { return lines("starts"); }
    /// Those of them that have come to wait.
    QByteArrayList waits() const { return lines("waits"); }
    /// What the commands have written to their file @p name.
    QByteArray contents(const QByteArray &name) const
    {
        QFile file(QFile::decodeName(this->file(name)));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QByteArray bytes = file.readAll();
        return bytes.isNull() ? QByteArray("") : bytes;
    }

private:
    QByteArrayList lines(const QByteArray &name) const
    {
        QByteArrayList lines = contents(name).split('\n');
        lines.removeLast(); // after the last line's end
        return lines;
    }
    QByteArray file(const QByteArray &name) const
    {
        return QFile::encodeName(m_folder.path()) + '/' + name;
    }

    QTemporaryDir m_folder;
    QByteArray m_path; ///< PATH as it was before.
};

} // namespace quillfen::platform
