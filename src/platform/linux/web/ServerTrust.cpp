// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/ServerTrust.h"

#include <QList>
#include <QSslCertificate>
#include <QSslConfiguration>

namespace quillfen::platform {

void trustAs(const CurlFunctions &curl, const QSslConfiguration &configuration, SSL_CTX &context)
{
    X509_STORE *const trusted = curl.sslContextStore(&context);
    const QList<QSslCertificate> authorities = configuration.caCertificates();
    for (const QSslCertificate &authority : authorities) {
        if (auto *const certificate = static_cast<X509 *>(authority.handle()))
            curl.storeAdd(trusted, certificate);
    }
    if (configuration == QSslConfiguration::defaultConfiguration())
        curl.storeLoadPath(trusted, curl.defaultFolder());
}

} // namespace quillfen::platform
