// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/commands/AutostartFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr auto kOwnFolder =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
constexpr auto kReadableByAll = QFileDevice::ReadOwner | QFileDevice::WriteOwner
    | QFileDevice::ReadGroup | QFileDevice::ReadOther;

constexpr qint64 kMostBytes = 1024 * 1024; // of a desktop entry

/// A value of the type "string", as it stands in a desktop entry.
QString asString(const QString &text)
{
    QString escaped;
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'\\':
            escaped += "\\\\"_L1;
            break;
        case u'\n':
            escaped += "\\n"_L1;
            break;
        case u'\r':
            escaped += "\\r"_L1;
            break;
        case u'\t':
            escaped += "\\t"_L1;
            break;
        case u' ': // only at the ends it would be lost
            escaped += escaped.isEmpty() ? u"\\s"_s : u" "_s;
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

/// A program's path as the first word of a command line in the key Exec.
QString asCommand(const QString &program)
{
    const auto isPlain = [](QChar c) { return c.isLetterOrNumber() || u"/._-+:@,%"_s.contains(c); };
    QString command = program;
    command.replace(u"%"_s, u"%%"_s);
    if (!std::ranges::all_of(command, isPlain)) {
        for (const QString &special : {u"\\"_s, u"\""_s, u"`"_s, u"$"_s})
            command.replace(special, u'\\' + special);
        command = u'"' + command + u'"';
    }
    return asString(command);
}

/// A folder that a variable names, or where that is not absolute (or not set) another one.
QString configHome()
{
    const QString named = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (named.startsWith(u'/'))
        return named;
    const QString home = qEnvironmentVariable("HOME");
    return home.startsWith(u'/') ? home + "/.config"_L1 : QString();
}

bool makeFolders(const QString &folder)
{
    const QString above = QFileInfo(folder).path();
    return QDir(folder).exists()
        || ((above == folder || makeFolders(above)) && QDir().mkdir(folder, kOwnFolder));
}

/// Whether the desktop entry at @p path says that it is to count as none.
bool isHidden(const QString &path)
{
    static const QRegularExpression hidden(u"^Hidden[ \\t]*=[ \\t]*true[ \\t]*$"_s,
                                           QRegularExpression::MultilineOption);
    QFile file(path);
    return file.open(QIODevice::ReadOnly)
        && hidden.match(QString::fromUtf8(file.read(kMostBytes))).hasMatch();
}

/// The path of this very program; nothing where it is not text, or where no desktop entry can
/// have it.
std::optional<QString> ownPath()
{
    std::error_code error;
    const std::string path = std::filesystem::read_symlink("/proc/self/exe", error).native();
    const QString text = QString::fromStdString(path);
    if (error || text.toStdString() != path || text.contains(u'='))
        return {};
    return text;
}

} // namespace

AutostartFile::AutostartFile(const QString &name) : m_fileName(name + ".desktop"_L1) { }

QByteArray autostartEntry(const QString &program, bool hidden)
{
    QString entry = u"[Desktop Entry]\n"
                    "Type=Application\n"
                    "Name=Quillfen\n"
                    "Comment=Shows this machine's first IP address in the status area\n"
                    "Icon=com.corvane.Quillfen\n"
                    "Exec=%1\n"
                    "TryExec=%2\n"
                    "Terminal=false\n"_s;
    entry = entry.arg(asCommand(program), asString(program));
    if (hidden)
        entry += "Hidden=true\n"_L1;
    return entry.toUtf8();
}

std::optional<QString> AutostartFile::set(bool on) const
{
    const QString config = configHome();
    if (config.isEmpty())
        return u"there is no folder for settings: neither XDG_CONFIG_HOME nor HOME is an absolute "
               "path"_s;
    const QString path = config + "/autostart/"_L1 + m_fileName;
    if (!on && !startsSystemWide())
        return remove(path);
    const std::optional<QString> program = ownPath();
    if (!program)
        return u"an autostart file cannot name this program where it is now: its path has a \"=\" "
               u"in "
               "it, or is not UTF-8"_s;
    return write(path, autostartEntry(*program, !on));
}

std::optional<QString> AutostartFile::write(const QString &path, const QByteArray &entry) const
{
    const QString folder = QFileInfo(path).path();
    if (!makeFolders(folder))
        return u"the folder %1 cannot be made: %2"_s.arg(folder, qt_error_string());
    // Unbuffered, and looked at: with a buffer, Qt 6.4 notices a full disk too late, and an empty
    // file takes the place of the one before.
    QSaveFile file(path);
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        && file.setPermissions(kReadableByAll) && file.write(entry) == entry.size();
    const QString failure = u"%1 cannot be written: %2"_s;
    if (!written) {
        const QString why = file.errorString();
        file.cancelWriting();
        return failure.arg(path, why);
    }
    if (!file.commit())
        return failure.arg(path, file.errorString());
    return {};
}

std::optional<QString> AutostartFile::remove(const QString &path) const
{
    QFile file(path);
    // A link that leads nowhere is there, too.
    const bool there = QFileInfo::exists(path) || QFileInfo(path).isSymLink();
    if (there && !file.remove())
        return u"%1 cannot be removed: %2"_s.arg(path, file.errorString());
    return {};
}

bool AutostartFile::startsSystemWide() const
{
    QString folders = qEnvironmentVariable("XDG_CONFIG_DIRS");
    if (folders.isEmpty())
        folders = u"/etc/xdg"_s;
    for (const QString &folder : folders.split(u':')) {
        const QString path = folder + "/autostart/"_L1 + m_fileName;
        if (folder.startsWith(u'/') && QFileInfo::exists(path))
            return !isHidden(path);
    }
    return false;
}

} // namespace quillfen::platform
