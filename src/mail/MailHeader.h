// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/CWInternetAddress.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QList>
#include <QString>

/// The header fields of a mail, each whole with its line end, in ASCII, folded so that lines have
/// 76 octets where the words allow it and never more than 998.
/// @source RFC 5322 sections 2.1.1, 2.2.3 and 3.3 to 3.6, RFC 2047 (words that are not ASCII).
namespace quillfen::mail {

/// A field of plain text, such as the subject. Control characters become blanks.
QByteArray textField(QByteArrayView name, const QString &text);
/// A field of addresses with the names that they have.
QByteArray addressField(QByteArrayView name, const QList<CWInternetAddress> &addresses);
/// The time with its zone as a number: "Date: Mon, 2 Jan 2006 15:04:05 -0330".
QByteArray dateField(const QDateTime &date);
/// A Message-ID that nobody else has, in @p domain. It tells nothing of this machine.
QByteArray messageIdField(const QByteArray &domain);

} // namespace quillfen::mail
