// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "mail/SmtpCapabilities.h"
#include "mail/SmtpReply.h"
#include "mail/SmtpScript.h"

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace {

using quillfen::mail::SmtpCapabilities;
using quillfen::mail::SmtpReply;
using quillfen::mail::SmtpReplyReader;
using quillfen::test::require;

/// What a reader found in some bytes, and how it ended.
struct Findings {
    QList<SmtpReply> replies;
    QString trouble;
    bool atRest = true;

    friend bool operator==(const Findings &, const Findings &) = default;
};

/// Reads @p bytes in pieces of @p piece bytes.
Findings readIn(QByteArrayView bytes, qsizetype piece)
{
    Findings findings;
    SmtpReplyReader reader;
    while (!bytes.isEmpty()) {
        const QByteArrayView next = bytes.first(qMin(piece, bytes.size()));
        bytes = bytes.sliced(next.size());
        reader.feed(next);
        while (const std::optional<SmtpReply> reply = reader.take())
            findings.replies.append(*reply);
    }
    findings.trouble = reader.trouble();
    findings.atRest = reader.atRest();
    return findings;
}

void checkReply(const SmtpReply &reply)
{
    require(reply.code >= 200 && reply.code <= 599);
    require(!reply.texts.isEmpty() && reply.texts.size() <= SmtpReplyReader::kMostLines);
    require(reply.bytes.size() <= SmtpReplyReader::kMostReplyBytes);
    require(reply.bytes.startsWith(QByteArray::number(reply.code)));
    for (const QByteArray &text : reply.texts)
        require(!text.contains('\n') && text.size() < SmtpReplyReader::kMostLineBytes);
}

/// What a reply offers stands somewhere in it.
void checkCapabilities(const SmtpReply &reply)
{
    const SmtpCapabilities capabilities(reply);
    const QByteArray all = reply.bytes.toUpper();
    for (const char *keyword : {"STARTTLS", "SIZE", "AUTH", "8BITMIME"})
        require(!capabilities.offers(keyword) || all.contains(keyword));
    for (const char *mechanism : {"PLAIN", "LOGIN"})
        require(!capabilities.offersMechanism(mechanism)
                || (capabilities.offers("AUTH") && all.contains(mechanism)));
    require(!capabilities.sizeLimit() || capabilities.offers("SIZE"));
}

/// A password in a reply is not shown.
void checkSecrets(const SmtpReply &reply)
{
    const QByteArray secret = reply.texts.last().left(8);
    if (secret.isEmpty())
        return;
    const SmtpReply shown = withoutSecrets(reply, {secret});
    require(shown.code == reply.code && shown.texts == QByteArrayList({"(not shown)"}));
    // A name keeps the words around it as they are.
    for (const QByteArray &text : withoutNames(reply, {secret}).texts)
        require(text != secret || secret.contains('*'));
}

} // namespace

/// The first byte says in what pieces the others are read a second time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArrayView bytes(data + 1, static_cast<qsizetype>(size - 1));
    const Findings whole = readIn(bytes, qMax<qsizetype>(1, bytes.size()));
    require(whole == readIn(bytes, data[0] % 64 + 1));
    for (const SmtpReply &reply : whole.replies) {
        checkReply(reply);
        checkCapabilities(reply);
        checkSecrets(reply);
    }
    return 0;
}
