// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/CurlUrlLoader.h"

#include "platform/Turns.h"
#include "unit/web/WebHome.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

/// "203.0.113.7\n", as gzip(1) packs it.
const QByteArray kPacked =
    QByteArray::fromHex("1f8b0800000000000203333230d633d0333434d633e70200ef64ed8b0c000000");

/// @p bytes in the coding "deflate" (RFC 9110 section 8.4.1.2).
QByteArray deflated(const QByteArray &bytes)
{
    return qCompress(bytes).sliced(4); // Qt puts the length in front
}

} // namespace

class CurlUrlLoaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<WebHome>(); }

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
            {.name = "packed in the other way",
             .answer = httpAnswer("200 OK", "Content-Encoding: Deflate\r\n", deflated("page")),
             .body = "page"},
            {.name = "packed twice is none",
             .answer = httpAnswer("200 OK", "Content-Encoding: deflate, deflate\r\n",
                                  deflated(deflated("page"))),
             .body = {}},
            {.name = "packed twice, said in two fields, is none",
             .answer =
                 httpAnswer("200 OK", "Content-Encoding: deflate\r\nContent-Encoding: deflate\r\n",
                            deflated(deflated("page"))),
             .body = {}},
            {.name = "packed by the transfer is none",
             .answer = httpAnswer("200 OK", "Transfer-Encoding: deflate\r\n", deflated("page")),
             .body = {}},
            {.name = "packed as nobody asked is none",
             .answer = httpAnswer("200 OK", "Content-Encoding: br\r\n", "\x03page\x03"),
             .body = {}},
            {.name = "badly packed is none",
             .answer = httpAnswer("200 OK", "Content-Encoding: gzip\r\n", "page"),
             .body = {}},
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
            {.name = "chunks cut short are none",
             .answer = httpAnswer("200 OK", "Transfer-Encoding: chunked\r\n", "4\r\npage\r\n"),
             .body = {}},
            {.name = "after interim answers",
             .answer = "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n"
                 + httpAnswer("200 OK", sized, "page"),
             .body = "page"},
            {.name = "of a redirect to nowhere",
             .answer = httpAnswer("302 Found", sized, "page"),
             .body = "page"},
            {.name = "of a redirect to an empty place",
             .answer = httpAnswer("302 Found", "Location:\r\n" + sized, "page"),
             .body = "page"},
            {.name = "of a choice", // a place that comes with it is but a proposal
             .answer = httpAnswer("300 Multiple Choices", "Location: /b\r\n" + sized, "page"),
             .body = "page"},
            {.name = "a place that is no redirect's",
             .answer = httpAnswer("201 Created", "Location: /b\r\n" + sized, "page"),
             .body = "page"},
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
        m_home->server.answer("/", answer);
        QTEST(m_home->load(u"/"_s), "body");
    }

    void bringsNothingWhenTheConnectionIsReset()
    {
        m_home->server.answer("/", [](QTcpSocket &client) {
            client.write("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\npage");
            client.flush();
            client.abort();
        });
        QCOMPARE(m_home->load(u"/"_s), std::nullopt);
    }

    void bringsNothingWhenNobodyListens()
    {
        const QUrl url = WebServer().url(u"/"_s); // it is gone again
        QCOMPARE(m_home->loadFrom(url), std::nullopt);
    }

    void isOverAtItsDeadline_data()
    {
        struct Row {
            const char *name;
            QByteArray opening;
            QByteArray drip;
        };
        const Row rows[] = {
            {.name = "a silent server", .opening = {}, .drip = {}},
            {.name = "a head that trickles", .opening = "HTTP/1.1 200 OK\r\n", .drip = "X: y\r\n"},
            {.name = "interim answers", .opening = {}, .drip = "HTTP/1.1 102 Processing\r\n\r\n"},
            {.name = "a body that trickles", .opening = "HTTP/1.1 200 OK\r\n\r\n", .drip = "x"},
            {.name = "a chunk that does not begin",
             .opening = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5;",
             .drip = "x"},
        };
        QTest::addColumn<QByteArray>("opening");
        QTest::addColumn<QByteArray>("drip");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.opening << row.drip;
    }

    void isOverAtItsDeadline()
    {
        QFETCH(QByteArray, opening);
        QFETCH(QByteArray, drip);
        m_home->server.answer("/", [opening, drip](QTcpSocket &client) {
            client.write(opening);
            auto *const tap = new QTimer(&client);
            QObject::connect(tap, &QTimer::timeout, &client,
                             [&client, drip] { client.write(drip); });
            tap->start(20);
        });
        QElapsedTimer watch;
        watch.start();
        QCOMPARE(m_home->load(u"/"_s, 300ms), std::nullopt);
        QVERIFY(watch.elapsed() >= 300);
        QTRY_COMPARE(m_home->server.openConnections(), 0);
    }

    void readsNoMoreThanAMebibyte()
    {
        qint64 sent = 0;
        m_home->server.answer("/", [&sent](QTcpSocket &client) {
            client.write("HTTP/1.1 200 OK\r\n\r\n");
            const QByteArray block(64 * 1024, 'x');
            QObject::connect(&client, &QTcpSocket::bytesWritten, &client, [&client, &sent, block] {
                if (client.bytesToWrite() == 0)
                    sent += client.write(block);
            });
        });
        const Page page = m_home->load(u"/"_s);
        QVERIFY(page);
        QCOMPARE(page->size(), UrlLoader::kMostBytes);
        QTRY_COMPARE(m_home->server.openConnections(), 0);
        QVERIFY(sent < 32 * UrlLoader::kMostBytes); // what the system's buffers take besides
    }

    void takesAPageOfExactlyAMebibyte()
    {
        const QByteArray page(UrlLoader::kMostBytes, 'x');
        m_home->server.answer("/", httpAnswer("200 OK", {}, page));
        QCOMPARE(m_home->load(u"/"_s), Page(page));
    }

    void unpacksNoMoreThanAMebibyte()
    {
        const QByteArray bomb = deflated(QByteArray(32 * UrlLoader::kMostBytes, 'x'));
        m_home->server.answer("/", httpAnswer("200 OK", "Content-Encoding: deflate\r\n", bomb));
        const Page page = m_home->load(u"/"_s);
        QVERIFY(page);
        QCOMPARE(page->size(), UrlLoader::kMostBytes);
        QTRY_COMPARE(m_home->server.openConnections(), 0);
    }

    void loadsNothingButTheWeb()
    {
        for (const QString &url : {u"file:///etc/hostname"_s, u"ftp://127.0.0.1/"_s, u"page"_s,
                                   u"data:text/plain,page"_s, QString()})
            QCOMPARE(m_home->loadFrom(QUrl(url)), std::nullopt);
    }

    void asksPolitely()
    {
        m_home->server.answerPatiently(
            "/ip?x=1", httpAnswer("200 OK", "Set-Cookie: a=b\r\nContent-Length: 4\r\n", "page"));
        m_home->load(u"/ip?x=1"_s);
        const QByteArray request = m_home->server.requests().value(0);
        QVERIFY(request.startsWith("GET /ip?x=1 HTTP/1.1\r\n"));
        const QByteArray host = "\r\nHost: 127.0.0.1:" + QByteArray::number(m_home->server.port());
        QCOMPARE(request.count(host), 1);
        QCOMPARE(request.toLower().count("\r\nhost:"), 1);
        QVERIFY(request.endsWith("\r\n\r\n"));

        settle(m_home->loader.load({.url = m_home->server.url(u"/ip?x=1"_s),
                                    .userAgent = "A browser/1.0"_ba,
                                    .within = kPlenty}));
        const QByteArray second = m_home->server.requests().value(1);
        QVERIFY(second.contains("\r\nUser-Agent: A browser/1.0\r\n"));
        QVERIFY(!second.contains("Cookie"));
        QVERIFY(second.contains("\r\nConnection: close\r\n"));
        QVERIFY(second.contains("\r\nAccept-Encoding: gzip, deflate\r\n"));
        QTRY_COMPARE(m_home->server.openConnections(), 0);
    }

    void endsWithItsTask()
    {
        {
            Turns flow([](const std::exception_ptr &) {});
            flow.take(discard(m_home->loader.load(request(u"/"_s))));
            QTRY_COMPARE(m_home->server.requests().size(), 1);
            QCOMPARE(m_home->server.openConnections(), 1);
        }
        QTRY_COMPARE(m_home->server.openConnections(), 0);
    }

    void endsForAllThoughAChildLives()
    {
        QProcess child;
        {
            Turns flow([](const std::exception_ptr &) {});
            flow.take(discard(m_home->loader.load(request(u"/"_s))));
            QTRY_COMPARE(m_home->server.requests().size(), 1);
            child.start(u"cat"_s, {}); // waits for what we do not say
            QVERIFY(child.waitForStarted());
        }
        QTRY_COMPARE(m_home->server.openConnections(), 0);
        QCOMPARE(child.state(), QProcess::Running);
        child.closeWriteChannel();
        QVERIFY(child.waitForFinished());
    }

private:
    UrlRequest request(const QString &path) const
    {
        return {.url = m_home->server.url(path), .within = kPlenty};
    }
    static Task<> discard(Task<Page> load) { co_await std::move(load); }

    std::unique_ptr<WebHome> m_home;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::CurlUrlLoaderTest)
#include "CurlUrlLoaderTest.moc"
