// SPDX-License-Identifier: GPL-3.0-or-later
#include "netinfo/ExternalAddress.h"

#include "support/Console.h"
#include "support/Log.h"
#include "world/FakeConsole.h"
#include "world/FakePreferences.h"
#include "world/FakeUrlLoader.h"
#include "world/Settle.h"

#include <QJsonValue>
#include <QTest>

#include <chrono>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::settle;

namespace quillfen::netinfo {

namespace {

/// A service, a console and what asks and tells them. The log goes to the console alone.
struct Desk {
    world::FakeUrlLoader service;
    world::FakeConsole systemConsole;
    world::FakePreferences preferences;
    support::Console console{systemConsole};
    support::Log log{console, preferences};
    ExternalAddress address{service, preferences, log, systemConsole};
};

QByteArray page(const QByteArray &address)
{
    return "<html><body>Current IP Address: " + address + "</body></html>\r\n";
}

} // namespace

class ExternalAddressTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_desk = std::make_unique<Desk>(); }

    void cutsTheAddressFromThePage_data()
    {
        struct Row {
            const char *name;
            QByteArray body;
            QString address;
            bool kept = true;
        };
        static const Row rows[] = {
            {.name = "an address", .body = page("203.0.113.7"), .address = u"203.0.113.7"_s},
            {.name = "a blank behind", .body = page("203.0.113.7 "), .address = u"203.0.113.7 "_s},
            {.name = "markers in small letters",
             .body = "current ip address: 203.0.113.7</BODY></HTML>"_ba,
             .address = u"203.0.113.7"_s},
            {.name = "no address", .body = page("Sorry!"), .address = u"Sorry!"_s},
            {.name = "nothing between the markers", .body = page(""), .address = u""_s},
            {.name = "Mac OS Roman", .body = page("caf\x8e"), .address = u"café"_s},
            {.name = "UTF-8", .body = page("caf\xc3\xa9"), .address = u"café"_s},
            {.name = "no end marker",
             .body = "Current IP Address: 203.0.113.7"_ba,
             .address = u"-.-.-.-"_s,
             .kept = false},
            {.name = "no start marker",
             .body = "203.0.113.7</body></html>"_ba,
             .address = u"-.-.-.-"_s,
             .kept = false},
            {.name = "the end marker before the start marker",
             .body = "</body></html>Current IP Address: 203.0.113.7"_ba,
             .address = u"-.-.-.-"_s,
             .kept = false},
        };
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("kept");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.body << row.address << row.kept;
    }
    void cutsTheAddressFromThePage()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, address);
        m_desk->service.answers(body);
        QCOMPARE(settle(m_desk->address.externalIP()), address);
        QTEST(m_desk->address.kept().has_value(), "kept");
    }

    void answersFromWhatItKeepsUntilCleared()
    {
        m_desk->service.answers(page("203.0.113.7"));
        QCOMPARE(settle(m_desk->address.externalIP()), u"203.0.113.7"_s);
        QCOMPARE(m_desk->systemConsole.takeLines(),
                 QStringList({u"Loading external IP address...(from http://checkip.dyndns.org/)"_s,
                              u"Downloading URL: http://checkip.dyndns.com/"_s,
                              u"External ip = 203.0.113.7"_s}));
        m_desk->service.answers(page("203.0.113.8"));
        QCOMPARE(settle(m_desk->address.externalIP()), u"203.0.113.7"_s);
        QCOMPARE(m_desk->systemConsole.takeLines(),
                 QStringList({u"Copying external IP address..."_s,
                              u"Copying external IP address... 203.0.113.7"_s}));
        QCOMPARE(m_desk->service.takeRequests().size(), 1);
        m_desk->address.clear();
        QCOMPARE(settle(m_desk->address.externalIP()), u"203.0.113.8"_s);
    }

    void asksAgainAfterAFailure()
    {
        m_desk->service.refuses();
        QCOMPARE(settle(m_desk->address.externalIP()), u"-.-.-.-"_s);
        QCOMPARE(m_desk->systemConsole.takeLines(),
                 QStringList({u"Loading external IP address...(from http://checkip.dyndns.org/)"_s,
                              u"Downloading URL: http://checkip.dyndns.com/"_s}));
        m_desk->service.answers(page("203.0.113.7"));
        QCOMPARE(settle(m_desk->address.externalIP()), u"203.0.113.7"_s);
    }

    void triesTwiceAndSaysABrowsersNameTheSecondTime()
    {
        m_desk->service.answersTheSecondTime(page("203.0.113.7"));
        QCOMPARE(settle(m_desk->address.externalIP()), u"203.0.113.7"_s);
        const QList<platform::UrlRequest> requests = m_desk->service.takeRequests();
        QCOMPARE(requests.size(), 2);
        for (const platform::UrlRequest &request : requests)
            QCOMPARE(request.url, QUrl(u"http://checkip.dyndns.com/"_s));
        QCOMPARE(requests[0].userAgent, QByteArray());
        QCOMPARE(requests[0].within, std::chrono::milliseconds(10s));
        QCOMPARE(requests[1].userAgent,
                 "Mozilla/5.0 (Macintosh; U; Intel Mac OS X 10_6_6; en-us) AppleWebKit/533.20.25 "
                 "(KHTML, like Gecko) Version/5.0.4 Safari/533.20.27");
        QCOMPARE(requests[1].within, std::chrono::milliseconds(30s));
    }

    void asksTheServiceThatTheSettingNames_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            QString asked; ///< Empty: nobody.
            QString told;
        };
        static const Row rows[] = {
            {.name = "another",
             .stored = u"https://ip.example:8443/x?y=1"_s,
             .asked = u"https://ip.example:8443/x?y=1"_s,
             .told = u"https://ip.example:8443/x?y=1"_s},
            {.name = "no text",
             .stored = 7,
             .asked = u"http://checkip.dyndns.com/"_s,
             .told = u"http://checkip.dyndns.com/"_s},
            {.name = "no URL", .stored = u"not a URL"_s, .asked = {}, .told = u"not a URL"_s},
            {.name = "empty", .stored = u""_s, .asked = {}, .told = u""_s},
            {.name = "no server", .stored = u"http:///x"_s, .asked = {}, .told = u"http:///x"_s},
            {.name = "a file",
             .stored = u"file:///etc/passwd"_s,
             .asked = {},
             .told = u"file:///etc/passwd"_s},
            {.name = "another scheme",
             .stored = u"ftp://ip.example/"_s,
             .asked = {},
             .told = u"ftp://ip.example/"_s},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<QString>("asked");
        QTest::addColumn<QString>("told");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.asked << row.told;
    }
    void asksTheServiceThatTheSettingNames()
    {
        QFETCH(QJsonValue, stored);
        QFETCH(QString, asked);
        QFETCH(QString, told);
        m_desk->preferences.disk().values[u"ExternalAddressService"_s] = stored;
        m_desk->preferences.synchronize();
        m_desk->service.answers(page("203.0.113.7"));
        QCOMPARE(settle(m_desk->address.externalIP()),
                 asked.isEmpty() ? u"-.-.-.-"_s : u"203.0.113.7"_s);
        QVERIFY(m_desk->systemConsole.takeLines().contains(u"Downloading URL: "_s + told));
        const QList<platform::UrlRequest> requests = m_desk->service.takeRequests();
        QCOMPARE(requests.isEmpty(), asked.isEmpty());
        if (!requests.isEmpty())
            QCOMPARE(requests.first().url.toString(), asked);
    }

private:
    std::unique_ptr<Desk> m_desk;
};

} // namespace quillfen::netinfo

QTEST_GUILESS_MAIN(quillfen::netinfo::ExternalAddressTest)
#include "ExternalAddressTest.moc"
