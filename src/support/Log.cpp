// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Log.h"

#include "platform/LineBuffer.h"
#include "platform/Preferences.h"
#include "platform/Workspace.h"
#include "support/Console.h"
#include "support/LogFile.h"
#include "support/SettingsReading.h"
#include "support/SupportFolders.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillfen::support {

namespace {

constexpr QLatin1StringView kFileName{"Quillfen.log"};
constexpr qsizetype kBufferBytes = 255;

/// Whether @p c would end the line or steer a terminal that shows the file. A message may hold text
/// from outside, which must not pass for a line of ours. A NUL stays: the buffer ends there.
bool breaksOut(QChar c)
{
    return (c < u' ' && !c.isNull() && c != u'\t') || (c >= u'\x7f' && c <= u'\x9f')
        || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

QString inOneLine(QString message)
{
    if (std::any_of(message.cbegin(), message.cend(), breaksOut))
        std::ranges::replace_if(message, breaksOut, u' ');
    return message;
}

/// What the file's line buffer holds for "[date] message".
platform::LineBuffer lineBuffer(const QByteArray &date, const QString &message)
{
    platform::LineBuffer buffer;
    buffer.append('[').append(date).append("] ");
    const bool plain = buffer.appendPlain(message);
    if (!plain)
        buffer.append(inOneLine(message));
    if (buffer.size() > kBufferBytes)
        buffer.truncate(0);
    else if (const qsizetype zero = plain ? -1 : buffer.bytes().indexOf('\0'); zero >= 0)
        buffer.truncate(zero);
    if (buffer.size() < kBufferBytes)
        buffer.append('\n');
    return buffer;
}

} // namespace

Log::Log(Console &console, platform::Preferences &preferences)
    : m_console(console),
      m_preferences(preferences)
{ }

Log::~Log()
{
    ClosePrivateLog();
}

void Log::LogMessage(const std::optional<QString> &message)
{
    if (!message)
        return;
    synchronizeSwitches();
    if (m_toSystemConsole)
        m_console.log(*message);
    if (PrivateLogHandle && m_toPrivateLog)
        PrivateLogHandle->append(lineBuffer(m_date.text(), *message).bytes());
}

void Log::OpenPrivateLog()
{
    QString folder;
    if (!GetAppSupportFolder(folder) || folder.isEmpty())
        return;
    PrivateLogHandle = std::make_unique<LogFile>();
    PrivateLogHandle->open(folder + u'/' + kFileName);
}

void Log::ClosePrivateLog()
{
    if (!PrivateLogHandle)
        return;
    PrivateLogHandle->close();
    PrivateLogHandle.reset();
}

void Log::ShowPrivateLogInViewer(platform::Workspace &workspace)
{
    QString folder;
    if (!GetAppSupportFolder(folder))
        return;
    QString file;
    if (FolderChildExists(folder, kFileName, file) && !file.isEmpty())
        workspace.openFile(file);
}

void Log::synchronizeSwitches()
{
    m_preferences.synchronize();
    const std::uint64_t generation = m_preferences.generation();
    if (m_generation == generation)
        return;
    m_generation = generation;
    m_toSystemConsole = ShouldLogToSystemConsole();
    m_toPrivateLog = ShouldLogToPrivateLog();
}

bool Log::ShouldLogToSystemConsole() const
{
    return readUserDefaultBoolean(m_preferences, kLogToSystemConsole);
}

bool Log::ShouldLogToPrivateLog() const
{
    return readUserDefaultBoolean(m_preferences, kLogToPrivateConsoleLog);
}

} // namespace quillfen::support
