// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/TlsPolicy.h"

#include "platform/TlsTrust.h"

#include <QHostAddress>
#include <QSslCertificateExtension>
#include <QSslSocket>

#include <algorithm>

namespace quillfen::mail {

using namespace Qt::StringLiterals;

platform::Task<QSslConfiguration> TlsPolicy::configuration() const
{
    QSslConfiguration configuration = co_await m_trust.configuration();
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
    co_return configuration;
}

bool TlsPolicy::namesServer(const QSslCertificate &certificate, const QString &host)
{
    const QHostAddress address(host);
    const auto names = certificate.subjectAlternativeNames();
    if (!address.isNull()) {
        const QStringList own = names.values(QSsl::IpAddressEntry);
        return std::any_of(own.begin(), own.end(),
                           [&](const QString &name) { return QHostAddress(name) == address; });
    }
    const auto extensions = certificate.extensions();
    const bool hasAlternative =
        std::any_of(extensions.begin(), extensions.end(), [](const auto &extension) {
            return extension.oid() == "2.5.29.17"_L1; // id-ce-subjectAltName
        });
    const QStringList own = hasAlternative ? names.values(QSsl::DnsEntry)
                                           : certificate.subjectInfo(QSslCertificate::CommonName);
    return std::any_of(own.begin(), own.end(),
                       [&](const QString &name) { return matchesHost(name, host); });
}

bool matchesHost(const QString &pattern, const QString &host)
{
    if (pattern.isEmpty())
        return false;
    if (!pattern.startsWith("*."_L1))
        return pattern.compare(host, Qt::CaseInsensitive) == 0;
    const QStringView rest = QStringView(pattern).sliced(1);
    const qsizetype label = host.indexOf(u'.');
    // A star that would stand for all names of a top-level domain stands for nothing.
    return label > 0 && rest.indexOf(u'.', 1) > 0
        && rest.compare(QStringView(host).sliced(label), Qt::CaseInsensitive) == 0;
}

} // namespace quillfen::mail
