// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

namespace quillfen::mail {

/// One mail address, with a name for people if it has one.
///
/// What it holds can stand in an SMTP command and in a header as it is: it has no line end, no
/// other control character, no blank and no angle bracket. A text that is no such address makes
/// an invalid one, which holds nothing but the reason.
class CWInternetAddress {
public:
    enum class Type { From = 0, To = 1 };

    CWInternetAddress() = default;
    /// Understands "a@b" and "Name <a@b>", blanks around either. The domain is a host name, an
    /// international one included, or an address literal such as "[192.0.2.7]".
    ///
    /// Refused are several addresses in one text, and local parts that are quoted or not ASCII
    /// (for the latter, servers need an extension of their own, RFC 6531).
    /// @source RFC 5321 section 4.1.2, RFC 5322 section 3.4, RFC 5890 (A-labels).
    static CWInternetAddress initWithString(const QString &text);

    void setType(Type type) { m_type = type; }
    Type type() const { return m_type; }

    bool valid() const { return !m_wire.isEmpty(); }
    /// Why it is invalid, as the end of a sentence for people; empty when it is valid.
    const QString &refusal() const { return m_refusal; }

    /// The address as SMTP has it between angle brackets, in ASCII: "a@xn--bcher-kva.example".
    const QByteArray &wire() const { return m_wire; }
    /// The part of wire() behind the "@".
    QByteArray domain() const { return m_wire.mid(m_wire.lastIndexOf('@') + 1); }
    /// The name for people, without its quotes; mostly empty.
    const QString &name() const { return m_name; }

    friend bool operator==(const CWInternetAddress &, const CWInternetAddress &) = default;

private:
    static CWInternetAddress refused(const QString &reason);

    QByteArray m_wire;
    QString m_name;
    QString m_refusal = QStringLiteral("is missing");
    Type m_type = Type::From;
};

/// The ASCII form of a host name, an international one as its A-labels; empty when @p name is none.
QByteArray asciiHostName(const QString &name);

} // namespace quillfen::mail
