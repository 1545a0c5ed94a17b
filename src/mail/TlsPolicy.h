// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>

namespace quillfen::platform {
class TlsTrust;
}

namespace quillfen::mail {

/// Whom we trust with a mail: a server over TLS 1.2 or newer whose certificate is signed by an
/// authority that this machine trusts, is in force, is made for servers and names this server.
class TlsPolicy {
public:
    /// @p trust knows the authorities. It must outlive this and all copies.
    explicit TlsPolicy(platform::TlsTrust &trust) : m_trust(trust) { }

    /// What a socket needs that connects to a server. It refuses what breaks the rules above, but
    /// takes more names than namesServer() does, which the caller asks besides.
    ///
    /// It waits as long as TlsTrust does.
    platform::Task<QSslConfiguration> configuration() const;

    /// Whether @p certificate is one of the server @p host, a host name in ASCII or an address.
    ///
    /// Where it has a subjectAltName, that alone decides; the common name counts only without
    /// one, and only for a host name. A "*" stands for one whole leftmost label.
    /// @source RFC 9525 sections 6.3 and 6.4, RFC 2818 section 3.1.
    static bool namesServer(const QSslCertificate &certificate, const QString &host);

private:
    platform::TlsTrust &m_trust;
};

/// Whether the name @p pattern of a certificate stands for @p host, both in ASCII.
bool matchesHost(const QString &pattern, const QString &host);

} // namespace quillfen::mail
