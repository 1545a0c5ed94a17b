// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/MachineInfo.h"

#include <QByteArrayView>
#include <QFile>
#include <QStringDecoder>

#include <fcntl.h>
#include <sys/stat.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kMostBytes = 64 * 1024;
constexpr QByteArrayView kAssignment = "PRETTY_HOSTNAME=";

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

/// Takes the quotes off the shell word at the start of @p line. @returns nothing when a quote
/// stays open or something follows the word: such a line is no assignment.
std::optional<QByteArray> unquoted(QByteArrayView line)
{
    QByteArray word;
    char quote = '\0';
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const bool quotes = quote != '\0' ? c == quote : c == '"' || c == '\'';
        if (quotes) {
            quote = quote != '\0' ? '\0' : c;
        } else if (c == '\\' && quote != '\'') {
            if (++i == line.size())
                return {};
            // Inside "…" the shell drops the backslash in front of these four only.
            if (quote == '"' && !QByteArrayView("\"\\$`").contains(line[i]))
                word += c;
            word += line[i];
        } else if (quote == '\0' && isBlank(c)) {
            const QByteArrayView rest = line.sliced(i).trimmed();
            if (!rest.isEmpty() && rest.front() != '#')
                return {};
            return word;
        } else {
            word += c;
        }
    }
    if (quote != '\0')
        return {};
    return word;
}

QString decoded(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    return decoder.hasError() ? QString::fromLatin1(bytes) : text;
}

QString withoutControls(QString text)
{
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line
            || c.category() == QChar::Separator_Paragraph)
            c = u' ';
    }
    return text.trimmed();
}

} // namespace

std::optional<QString> prettyHostname(const QByteArray &machineInfo)
{
    std::optional<QByteArray> last;
    for (const QByteArray &whole : machineInfo.split('\n')) {
        const QByteArray line = whole.trimmed();
        if (!line.startsWith(kAssignment))
            continue;
        if (const auto word = unquoted(QByteArrayView(line).sliced(kAssignment.size())))
            last = word;
    }
    if (!last)
        return {};
    const QString name = withoutControls(decoded(*last));
    if (name.isEmpty())
        return {};
    return name;
}

QByteArray readMachineInfo(const QString &path)
{
    const int descriptor =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    QFile file;
    struct stat status = {};
    if (descriptor < 0
        || !file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered,
                      QFileDevice::AutoCloseHandle)
        || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    return file.read(kMostBytes);
}

} // namespace quillfen::platform
