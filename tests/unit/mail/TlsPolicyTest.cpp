// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/TlsPolicy.h"

#include "unit/mail/Certificates.h"
#include "world/FakeTlsTrust.h"
#include "world/Settle.h"

#include <QObject>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>
#include <QTest>

using namespace Qt::StringLiterals;
using quillfen::world::settle;

namespace quillfen::mail {

class TlsPolicyTest : public QObject {
    Q_OBJECT

    Authority m_authority;

private Q_SLOTS:
    void matchesNames_data()
    {
        struct Row {
            const char *name;
            QString pattern;
            QString host;
            bool matches;
        };
        static const Row rows[] = {
            {.name = "the same",
             .pattern = u"mail.test"_s,
             .host = u"mail.test"_s,
             .matches = true},
            {.name = "in capitals",
             .pattern = u"MAIL.test"_s,
             .host = u"mail.TEST"_s,
             .matches = true},
            {.name = "another",
             .pattern = u"mail.test"_s,
             .host = u"smtp.test"_s,
             .matches = false},
            {.name = "the end of it",
             .pattern = u"test"_s,
             .host = u"mail.test"_s,
             .matches = false},
            {.name = "a star",
             .pattern = u"*.example.test"_s,
             .host = u"mail.example.test"_s,
             .matches = true},
            {.name = "a star for two labels",
             .pattern = u"*.example.test"_s,
             .host = u"a.mail.example.test"_s,
             .matches = false},
            {.name = "a star for none",
             .pattern = u"*.example.test"_s,
             .host = u"example.test"_s,
             .matches = false},
            {.name = "a star for an empty one",
             .pattern = u"*.example.test"_s,
             .host = u".example.test"_s,
             .matches = false},
            {.name = "a star for a whole domain",
             .pattern = u"*.test"_s,
             .host = u"mail.test"_s,
             .matches = false},
            {.name = "a star alone", .pattern = u"*"_s, .host = u"mail"_s, .matches = false},
            {.name = "a star and a dot", .pattern = u"*."_s, .host = u"mail."_s, .matches = false},
            {.name = "a star in a label",
             .pattern = u"m*.example.test"_s,
             .host = u"mail.example.test"_s,
             .matches = false},
            {.name = "a star in the middle",
             .pattern = u"mail.*.test"_s,
             .host = u"mail.example.test"_s,
             .matches = false},
            {.name = "nothing", .pattern = {}, .host = {}, .matches = false},
        };
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("matches");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.pattern << row.host << row.matches;
    }
    void matchesNames()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, host);
        QTEST(matchesHost(pattern, host), "matches");
    }

    void knowsWhomACertificateNames_data()
    {
        struct Row {
            const char *name;
            QString commonName = u"mail.test"_s;
            QString alternatives;
            QString host = u"mail.test"_s;
            bool named;
        };
        static const Row rows[] = {
            {.name = "an alternative name",
             .commonName = u"other.test"_s,
             .alternatives = u"DNS:mail.test"_s,
             .named = true},
            {.name = "the second one",
             .commonName = u"other.test"_s,
             .alternatives = u"DNS:other.test,DNS:mail.test"_s,
             .named = true},
            {.name = "the common name and nothing else", .alternatives = {}, .named = true},
            {.name = "the common name beside another alternative name",
             .alternatives = u"DNS:other.test"_s,
             .named = false},
            {.name = "the common name beside an address",
             .alternatives = u"IP:192.0.2.7"_s,
             .named = false},
            {.name = "the common name beside a mail address",
             .alternatives = u"email:a@mail.test"_s,
             .named = false},
            {.name = "another common name",
             .commonName = u"other.test"_s,
             .alternatives = {},
             .named = false},
            {.name = "an address",
             .alternatives = u"IP:192.0.2.7"_s,
             .host = u"192.0.2.7"_s,
             .named = true},
            {.name = "another address",
             .alternatives = u"IP:192.0.2.8"_s,
             .host = u"192.0.2.7"_s,
             .named = false},
            {.name = "an address as a name",
             .alternatives = u"DNS:192.0.2.7"_s,
             .host = u"192.0.2.7"_s,
             .named = false},
            {.name = "an address as the common name",
             .commonName = u"192.0.2.7"_s,
             .alternatives = {},
             .host = u"192.0.2.7"_s,
             .named = false},
            {.name = "an IPv6 address",
             .alternatives = u"IP:2001:db8::7"_s,
             .host = u"2001:db8::7"_s,
             .named = true},
        };
        QTest::addColumn<QString>("commonName");
        QTest::addColumn<QString>("alternatives");
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("named");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.commonName << row.alternatives << row.host << row.named;
    }
    void knowsWhomACertificateNames()
    {
        QFETCH(QString, commonName);
        QFETCH(QString, alternatives);
        QFETCH(QString, host);
        const QSslConfiguration server =
            m_authority.server({.commonName = commonName, .alternativeNames = alternatives});
        QVERIFY(!server.localCertificate().isNull());
        QTEST(TlsPolicy::namesServer(server.localCertificate(), host), "named");
    }

    void insistsOnTlsThatIsSafe()
    {
        world::FakeTlsTrust trust(m_authority.file());
        const TlsPolicy policy(trust);
        const QSslConfiguration configuration = settle(policy.configuration());
        QCOMPARE(configuration.protocol(), QSsl::TlsV1_2OrLater);
        QCOMPARE(configuration.peerVerifyMode(), QSslSocket::VerifyPeer);
    }

    void trustsWhomTheMachineTrusts()
    {
        world::FakeTlsTrust trust(m_authority.file());
        const TlsPolicy policy(trust);
        const QSslConfiguration configuration = settle(policy.configuration());
        QCOMPARE(configuration.caCertificates(), QSslCertificate::fromPath(m_authority.file()));
        QCOMPARE(configuration.caCertificates().size(), 1);
    }
};

} // namespace quillfen::mail

using quillfen::mail::TlsPolicyTest;
QTEST_GUILESS_MAIN(TlsPolicyTest)
#include "TlsPolicyTest.moc"
