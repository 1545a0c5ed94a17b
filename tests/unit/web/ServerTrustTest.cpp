// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/ServerTrust.h"

#include "platform/linux/web/CurlLibrary.h"
#include "unit/mail/Certificates.h"
#include "world/FakeConsole.h"
#include "world/Settle.h"

#include <QDateTime>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTest>

#include <algorithm>
#include <memory>

#include <openssl/ssl.h>
#include <openssl/x509.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Whether a client of @p curl's that trusts as @p configuration says would take @p certificate for
/// a server's authority.
bool wouldTrust(const CurlFunctions &curl, const QSslConfiguration &configuration,
                const QSslCertificate &certificate)
{
    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(
        SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
    trustAs(curl, configuration, *context);
    const std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> check(
        X509_STORE_CTX_new(), &X509_STORE_CTX_free);
    X509_STORE_CTX_init(check.get(), SSL_CTX_get_cert_store(context.get()),
                        static_cast<X509 *>(certificate.handle()), nullptr);
    return X509_verify_cert(check.get()) == 1;
}

/// One of the authorities that this machine trusts.
QSslCertificate one()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const auto all = QSslConfiguration::systemCaCertificates();
    const auto found = std::ranges::find_if(all, [&now](const QSslCertificate &authority) {
        return authority.isSelfSigned() && authority.effectiveDate() < now
            && authority.expiryDate() > now;
    });
    return found == all.end() ? QSslCertificate() : *found;
}

} // namespace

class ServerTrustTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_functions = world::settle(m_curl.functions(), std::chrono::seconds(20));
        QVERIFY(m_functions);
    }

    void trustsTheSystemsAuthorities()
    {
        QVERIFY2(!one().isNull(), "this machine trusts nobody (ca-certificates)");
        QVERIFY(trusts(QSslConfiguration::defaultConfiguration(), one()));
        QVERIFY(!trusts(QSslConfiguration::defaultConfiguration(), own()));
    }

    void trustsNobodyButThoseNamed()
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates({});
        QVERIFY(!trusts(configuration, own()));
        QVERIFY(!trusts(configuration, one()));
        configuration.setCaCertificates({own()});
        QVERIFY(trusts(configuration, own()));
        QVERIFY(!trusts(configuration, one()));
    }

private:
    QSslCertificate own() const { return QSslCertificate::fromPath(m_authority.file()).value(0); }

    bool trusts(const QSslConfiguration &configuration, const QSslCertificate &certificate) const
    {
        return wouldTrust(*m_functions, configuration, certificate);
    }

    mail::Authority m_authority;
    world::FakeConsole m_console;
    CurlLibrary m_curl{m_console};
    const CurlFunctions *m_functions = nullptr;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::ServerTrustTest)
#include "ServerTrustTest.moc"
