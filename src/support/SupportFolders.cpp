// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SupportFolders.h"

#include <QByteArray>
#include <QFile>

#include <cassert>
#include <cerrno>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace quillfen::support {

namespace {

constexpr mode_t kOwnerOnly = 0700;

QString childPath(const QString &parent, const QString &name)
{
    return parent.endsWith(u'/') ? parent + name : parent + u'/' + name;
}

bool isFolder(const QByteArray &path)
{
    struct stat status { };
    return ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Makes the folder at the absolute @p path and those that it stands in, as far as missing.
bool makeFolderPath(const QByteArray &path)
{
    if (isFolder(path))
        return true;
    // Only the outcome counts: a level that is there already may be one we could not have made.
    for (qsizetype end = path.indexOf('/', 1); end > 0; end = path.indexOf('/', end + 1))
        ::mkdir(path.first(end).constData(), kOwnerOnly);
    ::mkdir(path.constData(), kOwnerOnly);
    return isFolder(path);
}

/// The user's folder for application data, made if missing; empty when there is none.
QString userDataFolder()
{
    QString folder = qEnvironmentVariable("XDG_DATA_HOME");
    if (!folder.startsWith(u'/')) {
        const QString home = qEnvironmentVariable("HOME");
        if (!home.startsWith(u'/'))
            return {};
        folder = childPath(home, u".local/share"_s);
    }
    return makeFolderPath(QFile::encodeName(folder)) ? folder : QString();
}

} // namespace

bool FolderChildExists(const QString &parent, const QString &name, QString &childOut)
{
    assert(childOut.isEmpty());
    if (parent.isEmpty())
        return true; // cannot be looked up, which is not the same as not found
    const QString child = childPath(parent, name);
    struct stat status { };
    if (::lstat(QFile::encodeName(child).constData(), &status) != 0)
        return errno != ENOENT;
    childOut = child;
    return true;
}

std::int16_t EnsureChildFolder(const QString &parent, const QString &name, QString &childOut)
{
    if (FolderChildExists(parent, name, childOut))
        return 0;
    const QString child = childPath(parent, name);
    // Another process may have made it since the lookup; then it exists, as it would have then.
    if (::mkdir(QFile::encodeName(child).constData(), kOwnerOnly) != 0 && errno != EEXIST)
        return static_cast<std::int16_t>(errno);
    childOut = child;
    return 0;
}

bool GetAppSupportFolder(QString &folderOut)
{
    assert(folderOut.isEmpty());
    const QString base = userDataFolder();
    if (base.isEmpty())
        return false;
    QString makerFolder;
    if (EnsureChildFolder(base, kMakerFolderName, makerFolder) != 0)
        return false;
    return EnsureChildFolder(makerFolder, kProgramFolderName, folderOut) == 0;
}

} // namespace quillfen::support
