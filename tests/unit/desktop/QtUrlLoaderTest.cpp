// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/QtUrlLoader.h"

#include "platform/Turns.h"
#include "platform/linux/desktop/SystemNameLookup.h"
#include "platform/linux/desktop/SystemTlsTrust.h"
#include "unit/desktop/WebServer.h"
#include "unit/mail/Certificates.h"
#include "world/FakeConsole.h"
#include "world/FakeTlsTrust.h"
#include "world/Settle.h"

#include <QElapsedTimer>
#include <QTest>

#include <chrono>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

using Page = std::optional<QByteArray>;

constexpr auto kPlenty = 20s;

/// "203.0.113.7\n", as gzip(1) packs it.
const QByteArray kPacked =
    QByteArray::fromHex("1f8b0800000000000203333230d633d0333434d633e70200ef64ed8b0c000000");

/// A resolver that knows a few names and counts what it is asked.
SystemNameLookup::Resolver resolver(QStringList addresses)
{
    return [addresses = std::move(addresses)](const QString &name) -> NameAnswer {
        if (name == u"service.example")
            return {.addresses = addresses, .trouble = {}};
        return systemAddresses(name);
    };
}

QByteArray redirectTo(const QByteArray &place)
{
    return httpAnswer("302 Found", "Location: " + place + "\r\nContent-Length: 0\r\n", {});
}

} // namespace

class QtUrlLoaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        for (const char *name : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"})
            qunsetenv(name);
        m_server = std::make_unique<WebServer>();
    }

    void bringsTheBody_data()
    {
        struct Row {
            const char *name;
            QByteArray answer;
            Page body;
        };
        const QByteArray sized = "Content-Length: 4\r\n";
        const Row rows[] = {
            {.name = "sized", .answer = httpAnswer("200 OK", sized, "page"), .body = "page"},
            {.name = "to the end of the connection",
             .answer = httpAnswer("200 OK", {}, "page"),
             .body = "page"},
            {.name = "in chunks",
             .answer = httpAnswer("200 OK", "Transfer-Encoding: chunked\r\n",
                                  "2\r\npa\r\n2\r\nge\r\n0\r\n\r\n"),
             .body = "page"},
            {.name = "packed",
             .answer = httpAnswer("200 OK",
                                  "Content-Encoding: gzip\r\nContent-Length: "
                                      + QByteArray::number(kPacked.size()) + "\r\n",
                                  kPacked),
             .body = "203.0.113.7\n"},
            {.name = "HTTP/1.0", .answer = "HTTP/1.0 200 OK\r\n\r\npage", .body = "page"},
            {.name = "of a missing page",
             .answer = httpAnswer("404 Not Found", sized, "page"),
             .body = "page"},
            {.name = "of a broken service",
             .answer = httpAnswer("500 Internal Server Error", sized, "page"),
             .body = "page"},
            {.name = "of an overworked service",
             .answer = httpAnswer("503 Service Unavailable", sized, "page"),
             .body = "page"},
            {.name = "of a request that was not understood",
             .answer = httpAnswer("400 Bad Request", sized, "page"),
             .body = "page"},
            {.name = "of a teapot",
             .answer = httpAnswer("418 I'm a teapot", sized, "page"),
             .body = "page"},
            {.name = "of a status that nobody knows",
             .answer = httpAnswer("999 Beyond", sized, "page"),
             .body = "page"},
            {.name = "of a proxy with a password",
             .answer = httpAnswer("407 Proxy Authentication Required",
                                  "Proxy-Authenticate: Basic realm=\"x\"\r\n" + sized, "page"),
             .body = "page"},
            {.name = "behind a password",
             .answer = httpAnswer("401 Unauthorized",
                                  "WWW-Authenticate: Basic realm=\"x\"\r\n" + sized, "page"),
             .body = "page"},
            {.name = "not text",
             .answer = httpAnswer("200 OK", sized, "\xff\x00\xfe\n"_ba),
             .body = "\xff\x00\xfe\n"_ba},
            {.name = "an empty one is none",
             .answer = httpAnswer("200 OK", "Content-Length: 0\r\n", {}),
             .body = {}},
            {.name = "no content is none",
             .answer = httpAnswer("204 No Content", {}, {}),
             .body = {}},
            {.name = "one cut short is none",
             .answer = httpAnswer("200 OK", "Content-Length: 9\r\n", "page"),
             .body = {}},
            {.name = "not HTTP", .answer = "220 mail.example ESMTP\r\n", .body = {}},
            {.name = "closed at once", .answer = {}, .body = {}},
        };
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<Page>("body");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.answer << row.body;
    }
    void bringsTheBody()
    {
        QFETCH(QByteArray, answer);
        m_server->answer("/", answer);
        QTEST(load(u"/"_s), "body");
    }

    void bringsNothingWhenTheConnectionIsReset()
    {
        m_server->answer("/", [](QTcpSocket &client) {
            client.write("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\npage");
            client.flush();
            client.abort();
        });
        QCOMPARE(load(u"/"_s), std::nullopt);
    }

    void bringsNothingWhenNobodyListens()
    {
        const QUrl url = m_server->url(u"/"_s);
        m_server.reset();
        QCOMPARE(settle(m_loader.load({.url = url, .within = kPlenty})), std::nullopt);
    }

    void isOverAtItsDeadline_data()
    {
        QTest::addColumn<bool>("trickles");
        QTest::newRow("a silent server") << false;
        QTest::newRow("a server that trickles") << true;
    }
    void isOverAtItsDeadline()
    {
        QFETCH(bool, trickles);
        m_server->answer("/", [trickles](QTcpSocket &client) {
            if (!trickles)
                return;
            client.write("HTTP/1.1 200 OK\r\n\r\n");
            auto *const drip = new QTimer(&client);
            QObject::connect(drip, &QTimer::timeout, &client, [&client] { client.write("x"); });
            drip->start(20);
        });
        QElapsedTimer watch;
        watch.start();
        const Page page =
            settle(m_loader.load({.url = m_server->url(u"/"_s), .within = 300ms}), kPlenty);
        QCOMPARE(page, std::nullopt);
        QVERIFY(watch.elapsed() >= 300);
        QTRY_COMPARE(m_server->openConnections(), 0);
    }

    void readsNoMoreThanAMebibyte()
    {
        qint64 sent = 0;
        m_server->answer("/", [&sent](QTcpSocket &client) {
            client.write("HTTP/1.1 200 OK\r\n\r\n");
            const QByteArray block(64 * 1024, 'x');
            QObject::connect(&client, &QTcpSocket::bytesWritten, &client, [&client, &sent, block] {
                if (client.bytesToWrite() == 0)
                    sent += client.write(block);
            });
        });
        const Page page = load(u"/"_s);
        QVERIFY(page);
        QCOMPARE(page->size(), UrlLoader::kMostBytes);
        QTRY_COMPARE(m_server->openConnections(), 0);
        QVERIFY(sent < 32 * UrlLoader::kMostBytes); // what the system's buffers take besides
    }

    void takesAPageOfExactlyAMebibyte()
    {
        const QByteArray page(UrlLoader::kMostBytes, 'x');
        m_server->answer("/", httpAnswer("200 OK", {}, page));
        QCOMPARE(load(u"/"_s), Page(page));
    }

    void followsThreeRedirectsAndNoMore()
    {
        for (int i = 4; i > 0; --i)
            m_server->answerPatiently("/" + QByteArray::number(i),
                                      redirectTo("/" + QByteArray::number(i - 1)));
        m_server->answerPatiently("/0", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
        QCOMPARE(load(u"/3"_s), Page("page"));
        QCOMPARE(m_server->requests().size(), 4);
        QCOMPARE(load(u"/4"_s), std::nullopt);
        QCOMPARE(m_server->requests().size(), 8);
    }

    void endsALoopOfRedirects()
    {
        m_server->answerPatiently("/", redirectTo("/"));
        QCOMPARE(load(u"/"_s), std::nullopt);
        QCOMPARE(m_server->requests().size(), 4);
    }

    void followsToTheWebOnly_data()
    {
        QTest::addColumn<QByteArray>("place");
        QTest::newRow("a file") << "file:///etc/hostname"_ba;
        QTest::newRow("another scheme") << "ftp://127.0.0.1/"_ba;
        QTest::newRow("data") << "data:text/plain,page"_ba;
        QTest::newRow("no server") << "http:///"_ba;
    }
    void followsToTheWebOnly()
    {
        QFETCH(QByteArray, place);
        m_server->answerPatiently("/", redirectTo(place));
        QCOMPARE(load(u"/"_s), std::nullopt);
        QCOMPARE(m_server->requests().size(), 1);
    }

    void loadsNothingButTheWeb()
    {
        for (const QString &url : {u"file:///etc/hostname"_s, u"ftp://127.0.0.1/"_s, u"page"_s,
                                   u"data:text/plain,page"_s, QString()})
            QCOMPARE(settle(m_loader.load({.url = QUrl(url), .within = kPlenty})), std::nullopt);
    }

    void asksPolitely()
    {
        m_server->answerPatiently(
            "/ip?x=1", httpAnswer("200 OK", "Set-Cookie: a=b\r\nContent-Length: 4\r\n", "page"));
        load(u"/ip?x=1"_s);
        const QByteArray request = m_server->requests().value(0);
        QVERIFY(request.startsWith("GET /ip?x=1 HTTP/1.1\r\n"));
        const QByteArray host = "\r\nHost: 127.0.0.1:" + QByteArray::number(m_server->port());
        QCOMPARE(request.count(host), 1);
        QCOMPARE(request.toLower().count("\r\nhost:"), 1);
        QVERIFY(request.endsWith("\r\n\r\n"));

        settle(m_loader.load({.url = m_server->url(u"/ip?x=1"_s),
                              .userAgent = "A browser/1.0"_ba,
                              .within = kPlenty}));
        const QByteArray second = m_server->requests().value(1);
        QVERIFY(second.contains("\r\nUser-Agent: A browser/1.0\r\n"));
        QVERIFY(!second.contains("Cookie"));
        QTRY_COMPARE(m_server->openConnections(), 0);
    }

    void asksByNameAtEachAddressUntilOneAnswers()
    {
        // Nobody listens at the first: the server has one address of the loopback network.
        SystemNameLookup names(resolver({u"127.0.0.2"_s, u"127.0.0.1"_s}));
        QtUrlLoader loader(names, m_trust);
        m_server->answer("/", httpAnswer("200 OK", {}, "page"));
        const QUrl url(u"http://service.example:%1/"_s.arg(m_server->port()));
        QCOMPARE(settle(loader.load({.url = url, .within = kPlenty})), Page("page"));
        QVERIFY(m_server->requests().value(0).contains("\r\nHost: service.example:"));
    }

    void bringsNothingForANameThatIsNotKnown()
    {
        SystemNameLookup names(resolver({}));
        QtUrlLoader loader(names, m_trust);
        const QUrl url(u"http://service.example/"_s);
        QCOMPARE(settle(loader.load({.url = url, .within = kPlenty})), std::nullopt);
    }

    void goesThroughTheProxyThatTheEnvironmentNames()
    {
        qputenv("http_proxy", "127.0.0.1:" + QByteArray::number(m_server->port()));
        m_server->answer("http://service.example/", httpAnswer("200 OK", {}, "page"));
        SystemNameLookup names(resolver({}));
        QtUrlLoader loader(names, m_trust);
        QCOMPARE(
            settle(loader.load({.url = QUrl(u"http://service.example/"_s), .within = kPlenty})),
            Page("page"));
    }

    void trustsAServerThatTheFurtherFileTrusts()
    {
        mail::Authority authority;
        WebServer server(authority.server({.alternativeNames = u"DNS:service.example"_s}));
        server.answer("/", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
        SystemNameLookup names(resolver({u"127.0.0.1"_s}));
        const UrlRequest request{.url = server.url(u"/"_s, u"service.example"_s),
                                 .within = kPlenty};

        SystemTlsTrust usual(m_output, {});
        QtUrlLoader careful(names, usual);
        QCOMPARE(settle(careful.load(request), kPlenty), std::nullopt);

        SystemTlsTrust more(m_output, authority.file());
        QtUrlLoader loader(names, more);
        QCOMPARE(settle(loader.load(request), kPlenty), Page("page"));
        const UrlRequest another{.url = server.url(u"/"_s), .within = kPlenty};
        QCOMPARE(settle(loader.load(another), kPlenty), std::nullopt); // not its name
        QCOMPARE(server.requests().size(), 1);
        QVERIFY(server.requests().value(0).contains("\r\nHost: service.example:"));
    }

    void asksWhomToTrustWithinItsTime()
    {
        m_trust.keepSilent();
        m_server->answerPatiently("/", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
        QCOMPARE(load(u"/"_s), Page("page")); // in clear it need not know
        QUrl url = m_server->url(u"/"_s);
        url.setScheme(u"https"_s);
        QCOMPARE(settle(m_loader.load({.url = url, .within = 300ms}), kPlenty), std::nullopt);
        QCOMPARE(m_trust.waiting(), 1U);
        m_trust.speak();
        QCOMPARE(m_server->requests().size(), 1);
    }

    void endsWithItsTask()
    {
        Turns turns([](const std::exception_ptr &) {});
        {
            Turns flow([](const std::exception_ptr &) {});
            flow.take(discard(m_loader.load({.url = m_server->url(u"/"_s), .within = kPlenty})));
            QTRY_COMPARE(m_server->requests().size(), 1);
            QCOMPARE(m_server->openConnections(), 1);
        }
        QTRY_COMPARE(m_server->openConnections(), 0);
    }

private:
    static Task<> discard(Task<Page> load) { co_await std::move(load); }

    Page load(const QString &path)
    {
        return settle(m_loader.load({.url = m_server->url(path), .within = kPlenty}), kPlenty);
    }

    SystemNameLookup m_names;
    world::FakeConsole m_output;
    world::FakeTlsTrust m_trust;
    QtUrlLoader m_loader{m_names, m_trust};
    std::unique_ptr<WebServer> m_server;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::QtUrlLoaderTest)
#include "QtUrlLoaderTest.moc"
