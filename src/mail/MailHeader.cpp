// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/MailHeader.h"

#include <QLocale>
#include <QRandomGenerator>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

namespace quillfen::mail {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLineWidth = 76; // RFC 2047 section 2; RFC 5322 would have 78
constexpr qsizetype kMostEncodedBytes = 39; // 64 octets as a word: room for "Subject: " before it
constexpr qsizetype kMostPlainName = 60;

/// Without what could end a line or steer a terminal, and without blanks at the ends.
QString cleaned(const QString &text)
{
    QString clean = text;
    for (QChar &character : clean) {
        if (character.category() == QChar::Other_Control)
            character = u' ';
    }
    return clean.trimmed();
}

bool isPlain(QChar character)
{
    return character >= u' ' && character <= u'~';
}

/// Whether @p text can stand as it is: ASCII, foldable, and not taken for an encoded word.
bool canStand(const QString &text)
{
    if (!std::all_of(text.begin(), text.end(), isPlain) || text.contains("=?"_L1))
        return false;
    const QStringList words = text.split(u' ');
    return std::all_of(
               words.begin(), words.end(),
               [](const QString &word) { return !word.isEmpty() && word.size() < kLineWidth / 2; })
        || text.isEmpty();
}

/// @p text as encoded words. None of them ends inside a character.
QByteArrayList encodedWords(const QString &text)
{
    QByteArrayList words;
    QByteArray piece;
    const auto finishWord = [&] { words.append("=?UTF-8?B?" + piece.toBase64() + "?="); };
    for (const char32_t point : text.toUcs4()) {
        const QByteArray bytes = QString::fromUcs4(&point, 1).toUtf8();
        if (piece.size() + bytes.size() > kMostEncodedBytes) {
            finishWord();
            piece.clear();
        }
        piece += bytes;
    }
    finishWord();
    return words;
}

/// The field @p name with @p words, a blank or a fold before each but the first.
QByteArray folded(QByteArrayView name, const QByteArrayList &words)
{
    QByteArray field = name.toByteArray() + ": " + words.value(0);
    qsizetype width = field.size();
    for (const QByteArray &word : words.mid(1)) {
        if (width + 1 + word.size() > kLineWidth) {
            field += "\r\n";
            width = 0;
        }
        field += ' ' + word;
        width += 1 + word.size();
    }
    return field + "\r\n";
}

/// The words that a name for people is written in.
QByteArrayList nameWords(const QString &name)
{
    if (!canStand(name) || name.size() > kMostPlainName)
        return encodedWords(name);
    // In quotes always, so that no character of it means anything.
    QString quoted = name;
    quoted.replace(u'\\', "\\\\"_L1).replace(u'"', "\\\""_L1);
    return {'"' + quoted.toLatin1() + '"'};
}

} // namespace

QByteArray textField(QByteArrayView name, const QString &text)
{
    const QString clean = cleaned(text);
    return folded(name, canStand(clean) ? clean.toLatin1().split(' ') : encodedWords(clean));
}

QByteArray addressField(QByteArrayView name, const QList<CWInternetAddress> &addresses)
{
    QByteArrayList words;
    for (const CWInternetAddress &address : addresses) {
        if (!words.isEmpty())
            words.last() += ',';
        const QString person = cleaned(address.name());
        if (person.isEmpty()) {
            words.append(address.wire());
            continue;
        }
        words.append(nameWords(person));
        words.append('<' + address.wire() + '>');
    }
    return folded(name, words);
}

QByteArray dateField(const QDateTime &date)
{
    const QString local = QLocale::c().toString(date, u"ddd, d MMM yyyy HH:mm:ss"_s);
    const int minutes = date.offsetFromUtc() / 60;
    const int size = std::abs(minutes);
    const QString zone =
        u"%1%2"_s.arg(size / 60, 2, 10, QChar(u'0')).arg(size % 60, 2, 10, QChar(u'0'));
    return "Date: " + local.toLatin1() + (minutes < 0 ? " -" : " +") + zone.toLatin1() + "\r\n";
}

QByteArray messageIdField(const QByteArray &domain)
{
    std::array<std::uint32_t, 4> random = {};
    QRandomGenerator::system()->generate(random.begin(), random.end());
    const QByteArray id(reinterpret_cast<const char *>(random.data()), sizeof random);
    return "Message-ID: <" + id.toHex() + '@' + domain + ">\r\n";
}

} // namespace quillfen::mail
