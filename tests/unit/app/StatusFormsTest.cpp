// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StatusForms.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::ShownStatus;

namespace {

/// All that there is to know.
ShownStatus fullStatus()
{
    return {.title = u"192.0.2.7:desk:Home"_s,
            .addresses = {u"192.0.2.7"_s, u"198.51.100.4"_s},
            .dnsName = u"quill.example"_s,
            .computerName = u"desk"_s,
            .wirelessNetwork = u"Home"_s,
            .externalAddress = u"203.0.113.7"_s};
}

/// No network.
ShownStatus emptyStatus()
{
    ShownStatus status;
    status.title = u"-.-.-.-"_s;
    return status;
}

QJsonObject parsed(const QByteArray &line)
{
    return QJsonDocument::fromJson(line).object();
}

} // namespace

class StatusFormsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void peopleReadLines()
    {
        const QStringList expected{
            u"Title: 192.0.2.7:desk:Home"_s,   u"First address: 192.0.2.7"_s,
            u"DNS name: quill.example"_s,      u"Local addresses: 192.0.2.7, 198.51.100.4"_s,
            u"Computer name: desk"_s,          u"Wireless network: Home"_s,
            u"External address: 203.0.113.7"_s};
        QCOMPARE(statusLines(fullStatus()), expected);
    }

    void whatIsNotKnownSaysSo()
    {
        const QStringList expected{u"Title: -.-.-.-"_s,
                                   u"First address: none"_s,
                                   u"DNS name: not known"_s,
                                   u"Local addresses: none"_s,
                                   u"Computer name: not known"_s,
                                   u"Wireless network: not known"_s,
                                   u"External address: not known"_s};
        QCOMPARE(statusLines(emptyStatus()), expected);
    }

    void programsReadAnObject()
    {
        QCOMPARE(statusJson(fullStatus()),
                 R"({"address":"192.0.2.7","addresses":["192.0.2.7","198.51.100.4"],)"
                 R"("computerName":"desk","dnsName":"quill.example",)"
                 R"("externalAddress":"203.0.113.7","title":"192.0.2.7:desk:Home",)"
                 R"("wirelessNetwork":"Home"})"
                 "\n"_ba);
    }

    void whatIsNotKnownIsNull()
    {
        QCOMPARE(statusJson(emptyStatus()),
                 R"({"address":null,"addresses":[],"computerName":null,"dnsName":null,)"
                 R"("externalAddress":null,"title":"-.-.-.-","wirelessNetwork":null})"
                 "\n"_ba);
    }

    void barsReadALine()
    {
        QCOMPARE(barLine(fullStatus()),
                 R"({"class":"connected","text":"192.0.2.7:desk:Home",)"
                 R"("tooltip":"Local addresses: 192.0.2.7, 198.51.100.4\nDNS name: quill.example\n)"
                 R"(Computer: desk\nWireless network: Home\nExternal address: 203.0.113.7"})"
                 "\n"_ba);
    }

    void barsTellThatThereIsNoAddress()
    {
        QCOMPARE(barLine(emptyStatus()),
                 R"({"class":"disconnected","text":"-.-.-.-","tooltip":"No local address"})"
                 "\n"_ba);
    }

    void namesFromOutsideStayText_data()
    {
        struct Row {
            const char *name;
            QString computer;
            QString inBar;
        };
        const Row rows[] = {
            {"markup", u"<b>&amp;</b>"_s, u"&lt;b&gt;&amp;amp;&lt;/b&gt;"_s},
            {"quotation marks", u"\"a\" 'b'"_s, u"&quot;a&quot; 'b'"_s},
            {"a backslash", u"a\\n"_s, u"a\\n"_s},
            {"a line end", u"a\nb"_s, u"a\nb"_s},
            {"a control character", u"a\x1b[31m"_s, u"a\x1b[31m"_s},
            {"what steers a terminal", u"a\u009b31m\u202eb\u007f\u2028\u200f\u2066"_s,
             u"a\u009b31m\u202eb\u007f\u2028\u200f\u2066"_s},
            {"other letters", u"Büro 🙂"_s, u"Büro 🙂"_s},
        };
        QTest::addColumn<QString>("computer");
        QTest::addColumn<QString>("inBar");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.computer << row.inBar;
    }
    void namesFromOutsideStayText()
    {
        QFETCH(QString, computer);
        QFETCH(QString, inBar);
        ShownStatus status;
        status.title = computer;
        status.computerName = computer;
        for (const QByteArray &line : {barLine(status), statusJson(status)}) {
            QCOMPARE(line.count('\n'), 1);
            QVERIFY(line.endsWith('\n'));
            for (const QChar c : u"\u001b\u009b\u202e\u007f\u2028\u200f\u2066"_s)
                QVERIFY(!QString::fromUtf8(line).contains(c));
        }
        QCOMPARE(parsed(statusJson(status)).value("title"_L1), computer);
        QCOMPARE(parsed(statusJson(status)).value("computerName"_L1), computer);
        QCOMPARE(parsed(barLine(status)).value("text"_L1), inBar);
        QCOMPARE(parsed(barLine(status)).value("tooltip"_L1),
                 u"No local address\nComputer: "_s + inBar);
    }

    void aTooltipKeepsToTenAddresses_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("end");
        QTest::newRow("ten") << 10 << u"10.0.0.8, 10.0.0.9"_s;
        QTest::newRow("eleven") << 11 << u"10.0.0.8, 10.0.0.9 and 1 more"_s;
        QTest::newRow("ten thousand") << 10'000 << u"10.0.0.8, 10.0.0.9 and 9990 more"_s;
    }
    void aTooltipKeepsToTenAddresses()
    {
        QFETCH(int, count);
        QFETCH(QString, end);
        ShownStatus status;
        for (int i = 0; i < count; ++i)
            status.addresses += u"10.0.%1.%2"_s.arg(i / 256).arg(i % 256);
        const QString tooltip = parsed(barLine(status)).value("tooltip"_L1).toString();
        QVERIFY2(tooltip.endsWith(end), qPrintable(tooltip));
        QCOMPARE(parsed(statusJson(status)).value("addresses"_L1).toArray().size(), count);
    }
};

} // namespace quillfen::app

QTEST_APPLESS_MAIN(quillfen::app::StatusFormsTest)
#include "StatusFormsTest.moc"
