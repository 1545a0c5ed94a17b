// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "mail/CWMessage.h"
#include "mail/SmtpScript.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>
#include <QDateTime>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace {

using quillfen::mail::CWInternetAddress;
using quillfen::mail::CWMessage;
using quillfen::test::require;

CWInternetAddress address(const QByteArray &text)
{
    return CWInternetAddress::initWithString(QString::fromUtf8(text));
}

/// The lines of @p bytes, each of which has to end with CR LF and nothing else.
QByteArrayList linesOf(QByteArray bytes)
{
    require(bytes.endsWith("\r\n"));
    bytes.chop(2);
    QByteArrayList lines;
    qsizetype start = 0;
    for (qsizetype end = bytes.indexOf("\r\n"); end >= 0; end = bytes.indexOf("\r\n", start)) {
        lines.append(bytes.sliced(start, end - start));
        start = end + 2;
    }
    lines.append(bytes.sliced(start));
    for (const QByteArray &line : lines)
        require(line.size() <= 998 && !line.contains('\r') && !line.contains('\n')
                && !line.contains('\0'));
    return lines;
}

/// The headers that every mail has, once each and no other, in ASCII.
void checkHeaders(const QByteArrayList &lines)
{
    QByteArrayList names;
    for (const QByteArray &line : lines) {
        for (const char octet : line)
            require(octet >= ' ' && octet < '\x7F');
        if (!line.startsWith(' '))
            names.append(line.first(line.indexOf(':')));
    }
    require(names
            == QByteArrayList({"Date", "Subject", "Message-ID", "MIME-Version", "From", "To",
                               "Content-Type", "Auto-Submitted"}));
}

/// What a server takes the content for, once it has undone the doubling of dots.
QByteArray received(const QByteArray &stuffed)
{
    QByteArrayList lines = linesOf(stuffed);
    require(lines.takeLast() == ".");
    for (QByteArray &line : lines) {
        require(line != "."); // it would have ended the mail
        if (line.startsWith('.'))
            line.remove(0, 1);
    }
    return lines.join("\r\n") + "\r\n";
}

} // namespace

/// Up to the first three bytes 0x1E it is the sender, a recipient and the subject, in UTF-8; then
/// comes the content.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray all(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QByteArrayList parts = all.split('\x1E');
    if (parts.size() < 4)
        return 0;
    CWMessage message;
    message.setFrom(address(parts[0]));
    message.addRecipient(address(parts[1]));
    message.setSubject(QString::fromUtf8(parts[2]));
    message.setContent(parts.mid(3).join('\x1E'));
    if (!message.refusal().isEmpty())
        return 0;

    const QByteArray wire = message.wire(QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC));
    const QByteArrayList lines = linesOf(wire);
    const qsizetype end = lines.indexOf(QByteArray());
    require(end > 0);
    checkHeaders(lines.first(end));
    require(received(quillfen::mail::dotStuffed(wire)) == wire);
    return 0;
}
