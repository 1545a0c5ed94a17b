// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/CWInternetAddress.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::mail {

class CWInternetAddressTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void understandsAddresses_data()
    {
        struct Row {
            const char *name;
            QString text;
            QByteArray wire;
            QString person = {};
        };
        static const Row rows[] = {
            {.name = "plain", .text = u"a@b.example"_s, .wire = "a@b.example"},
            {.name = "a leading blank", .text = u" a@b.example"_s, .wire = "a@b.example"},
            {.name = "blanks around", .text = u"  a@b.example  "_s, .wire = "a@b.example"},
            {.name = "in brackets", .text = u"<a@b.example>"_s, .wire = "a@b.example"},
            {.name = "with a name",
             .text = u"Ann <a@b.example>"_s,
             .wire = "a@b.example",
             .person = u"Ann"_s},
            {.name = "with a name in quotes",
             .text = u"\"Ann, B.\" <a@b.example>"_s,
             .wire = "a@b.example",
             .person = u"Ann, B."_s},
            {.name = "with quotes in the name",
             .text = u"\"An\\\"n\\\\\" <a@b.example>"_s,
             .wire = "a@b.example",
             .person = u"An\"n\\"_s},
            {.name = "with an address as its name",
             .text = u"x@y <a@b.example>"_s,
             .wire = "a@b.example",
             .person = u"x@y"_s},
            {.name = "with an international name",
             .text = u"Änn <a@b.example>"_s,
             .wire = "a@b.example",
             .person = u"Änn"_s},
            {.name = "blanks inside the brackets",
             .text = u"Ann < a@b.example >"_s,
             .wire = "a@b.example",
             .person = u"Ann"_s},
            {.name = "an international domain",
             .text = u"a@bücher.example"_s,
             .wire = "a@xn--bcher-kva.example"},
            {.name = "a domain of another script",
             .text = u"a@例え.テスト"_s,
             .wire = "a@xn--r8jz45g.xn--zckzah"},
            {.name = "a domain that ends with a dot",
             .text = u"a@b.example."_s,
             .wire = "a@b.example"},
            {.name = "a host without a domain",
             .text = u"root@localhost"_s,
             .wire = "root@localhost"},
            {.name = "all that may stand before the @",
             .text = u"a!#$%&'*+-/=?^_`{|}~.9@b"_s,
             .wire = "a!#$%&'*+-/=?^_`{|}~.9@b"},
            {.name = "an IPv4 literal", .text = u"a@[192.0.2.7]"_s, .wire = "a@[192.0.2.7]"},
            {.name = "an IPv6 literal",
             .text = u"a@[ipv6:2001:DB8::7]"_s,
             .wire = "a@[IPv6:2001:db8::7]"},
            {.name = "the longest local part",
             .text = QString(64, u'a') + u"@b"_s,
             .wire = QByteArray(64, 'a') + "@b"},
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QString>("person");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.wire << row.person;
    }
    void understandsAddresses()
    {
        QFETCH(QString, text);
        const CWInternetAddress address = CWInternetAddress::initWithString(text);
        QVERIFY2(address.valid(), qPrintable(address.refusal()));
        QTEST(address.wire(), "wire");
        QTEST(address.name(), "person");
        QCOMPARE(address.refusal(), QString());
    }

    void refusesWhatIsNone_data()
    {
        const QString control = u"has a control character in it"_s;
        const QString local = u"has something before the “@” that cannot be sent"_s;
        const QString domain = u"has no host name behind the “@”"_s;
        struct Row {
            const char *name;
            QString text;
            QString refusal;
        };
        const Row rows[] = {
            {.name = "nothing", .text = {}, .refusal = u"is empty"_s},
            {.name = "blanks", .text = u"   "_s, .refusal = u"is empty"_s},
            {.name = "no @", .text = u"a.example"_s, .refusal = u"has no “@” in it"_s},
            {.name = "a CR", .text = u"a\r@b.example"_s, .refusal = control},
            {.name = "a LF", .text = u"a@b.example\nRCPT TO:<c@d>"_s, .refusal = control},
            {.name = "a CR LF at the end", .text = u"a@b.example\r\n"_s, .refusal = control},
            {.name = "a LF at the start", .text = u"\na@b.example"_s, .refusal = control},
            {.name = "a NUL", .text = u"a@b.example"_s + QChar(0), .refusal = control},
            {.name = "a tab", .text = u"\ta@b.example"_s, .refusal = control},
            {.name = "a DEL", .text = u"a\x7F@b.example"_s, .refusal = control},
            {.name = "a C1 control", .text = u"a"_s + QChar(0x85) + u"@b"_s, .refusal = control},
            {.name = "a line separator",
             .text = u"a"_s + QChar(0x2028) + u"@b"_s,
             .refusal = control},
            {.name = "a line end in the name",
             .text = u"A\r\nBcc: c@d <a@b>"_s,
             .refusal = control},
            {.name = "nothing before the @", .text = u"@b.example"_s, .refusal = local},
            {.name = "two addresses", .text = u"a@b.example, c@d.example"_s, .refusal = local},
            {.name = "a blank before the @", .text = u"a b@c.example"_s, .refusal = local},
            {.name = "quotes before the @", .text = u"\"a b\"@c.example"_s, .refusal = local},
            {.name = "letters that are not ASCII", .text = u"jürgen@b.example"_s, .refusal = local},
            {.name = "a bracket that does not close",
             .text = u"Ann <a@b.example"_s,
             .refusal = local},
            {.name = "a route", .text = u"<@x:a@b.example>"_s, .refusal = local},
            {.name = "a local part too long",
             .text = QString(65, u'a') + u"@b"_s,
             .refusal = local},
            {.name = "nothing behind the @", .text = u"a@"_s, .refusal = domain},
            {.name = "a blank behind the @", .text = u"a@b c.example"_s, .refusal = domain},
            {.name = "a bracket too many", .text = u"a@b.example>"_s, .refusal = domain},
            {.name = "an empty label", .text = u"a@b..example"_s, .refusal = domain},
            {.name = "a hyphen in front", .text = u"a@-b.example"_s, .refusal = domain},
            {.name = "a label too long", .text = u"a@"_s + QString(64, u'b'), .refusal = domain},
            {.name = "a domain too long",
             .text = u"a@"_s + QString(u"b."_s).repeated(127) + u"c"_s,
             .refusal = domain},
            {.name = "no address in the literal", .text = u"a@[b]"_s, .refusal = domain},
            {.name = "an untagged IPv6 literal", .text = u"a@[2001:db8::7]"_s, .refusal = domain},
            {.name = "a literal with a zone",
             .text = u"a@[IPv6:fe80::1%eth0]"_s,
             .refusal = domain},
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("refusal");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.refusal;
    }
    void refusesWhatIsNone()
    {
        QFETCH(QString, text);
        const CWInternetAddress address = CWInternetAddress::initWithString(text);
        QTEST(address.refusal(), "refusal");
        QVERIFY(!address.valid());
        QCOMPARE(address.wire(), QByteArray());
        QCOMPARE(address.name(), QString());
    }

    void knowsItsDomainAndType()
    {
        auto address = CWInternetAddress::initWithString(u"a@b.example"_s);
        QCOMPARE(address.domain(), "b.example");
        QCOMPARE(address.type(), CWInternetAddress::Type::From);
        address.setType(CWInternetAddress::Type::To);
        QCOMPARE(int(address.type()), 1);
    }

    void isInvalidFromTheStart() { QVERIFY(!CWInternetAddress().valid()); }
};

} // namespace quillfen::mail

using quillfen::mail::CWInternetAddressTest;
QTEST_APPLESS_MAIN(CWInternetAddressTest)
#include "CWInternetAddressTest.moc"
