// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>

namespace quillfen::support {
class Console;
}

namespace quillfen::mail {

/// Whom we trust with a mail: a server over TLS 1.2 or newer whose certificate is signed by an
/// authority that this machine trusts, is in force, is made for servers and names this server.
///
/// One for the whole program: the authorities are loaded once and shared.
class TlsPolicy {
public:
    /// Trusts the system's authorities and, where @p extraAuthorities is not empty, those in the
    /// PEM file of that name. One that gives none is said on @p console,
    /// and the system's alone count.
    TlsPolicy(const QString &extraAuthorities, support::Console &console);
    /// With the file that the environment's SSL_CERT_FILE names.
    static TlsPolicy ofEnvironment(support::Console &console);

    /// What a socket needs that connects to a server. It refuses what breaks the rules above, but
    /// takes more names than namesServer() does, which the caller asks besides.
    const QSslConfiguration &configuration() const { return m_configuration; }

    /// Whether @p certificate is one of the server @p host, a host name in ASCII or an address.
    ///
    /// Where it has a subjectAltName, that alone decides; the common name counts only without
    /// one, and only for a host name. A "*" stands for one whole leftmost label.
    /// @source RFC 9525 sections 6.3 and 6.4, RFC 2818 section 3.1.
    static bool namesServer(const QSslCertificate &certificate, const QString &host);

private:
    QSslConfiguration m_configuration;
};

/// Whether the name @p pattern of a certificate stands for @p host, both in ASCII.
bool matchesHost(const QString &pattern, const QString &host);

} // namespace quillfen::mail
