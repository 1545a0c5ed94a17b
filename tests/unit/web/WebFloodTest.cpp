// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/CurlTransfer.h"

#include "unit/web/FloodServer.h"
#include "unit/web/WebHome.h"
#include "world/LongestPause.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <chrono>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

constexpr auto kTime = 2s;
constexpr auto kLongPause = 500ms; // much, for a machine that is busy with other things
constexpr qint64 kMuchMemory =
    32 * 1024; // KiB; what the servers send would be hundreds of times it

const QByteArray kOk = "HTTP/1.1 200 OK\r\n"_ba;
const QByteArray kChunked = kOk + "Transfer-Encoding: chunked\r\n\r\n";
const QByteArray kPacked = kOk + "Content-Encoding: gzip\r\n\r\n";
/// How each gzip stream begins (RFC 1952 section 2.3).
const QByteArray kGzip = QByteArray::fromHex("1f8b0800000000000003");

QByteArray many(const QByteArray &piece)
{
    return piece.repeated(64 * 1024 / piece.size() + 1);
}

/// The most memory that this process ever had, in KiB.
qint64 mostMemory()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        qFatal("no /proc");
    const QByteArray text = status.readAll();
    const qsizetype at = text.indexOf("VmHWM:") + 6;
    return text.sliced(at, text.indexOf("kB", at) - at).trimmed().toLongLong();
}

} // namespace

/// Servers that send without end what is no body yet: nothing of it may be felt.
class WebFloodTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<WebHome>(); }

    void isOverInTimeAndNotFelt_data()
    {
        struct Row {
            const char *name;
            QByteArray opening;
            QByteArray wave;
        };
        const Row rows[] = {
            {.name = "no line", .opening = {}, .wave = many("A")},
            {.name = "a status line", .opening = "HTTP/1.1 200 ", .wave = many("A")},
            {.name = "lines of the head", .opening = kOk, .wave = many("X: y\r\n")},
            {.name = "one line of the head", .opening = kOk + "X: ", .wave = many("A")},
            {.name = "a folded line", .opening = kOk + "X: a\r\n", .wave = many(" a\r\n")},
            {.name = "interim answers",
             .opening = {},
             .wave = many("HTTP/1.1 100 Continue\r\n\r\n")},
            {.name = "hints",
             .opening = {},
             .wave = many("HTTP/1.1 103 Early Hints\r\nX: y\r\n\r\n")},
            {.name = "digits of a chunk", .opening = kChunked, .wave = many("0")},
            {.name = "a chunk's extension", .opening = kChunked + "5;", .wave = many("a=b;")},
            {.name = "chunks with extensions",
             .opening = kChunked,
             .wave = "1;" + many("a=b;") + "\r\nx\r\n"},
            {.name = "fields behind the chunks",
             .opening = kChunked + "1\r\nx\r\n0\r\n",
             .wave = many("X: y\r\n")},
            {.name = "a packed body with nothing in it", // blocks without a byte (RFC 1951 3.2.4)
             .opening = kPacked + kGzip,
             .wave = many(QByteArray::fromHex("000000ffff"))},
            {.name = "a refusal that is thrown away", // as libcurl tries the URL's password
             .opening = "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n\r\n",
             .wave = many("A")},
            {.name = "a redirect with a body",
             .opening = "HTTP/1.1 302 Found\r\nLocation: ftp://127.0.0.1/\r\n\r\n",
             .wave = many("A")},
            {.name = "a name in a packed body", // RFC 1952 section 2.3.1
             .opening = kPacked + QByteArray::fromHex("1f8b0808000000000003"),
             .wave = many("a")},
        };
        QTest::addColumn<QByteArray>("opening");
        QTest::addColumn<QByteArray>("wave");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.opening << row.wave;
    }
    void isOverInTimeAndNotFelt()
    {
        QFETCH(QByteArray, opening);
        QFETCH(QByteArray, wave);
        const FloodServer server(opening, wave);
        QUrl url = server.url();
        url.setUserInfo(u"ann:x"_s); // said only where a server asks
        bringsNothingOf(server, url);
    }

    void isNotFeltFromAProxyEither_data()
    {
        const QByteArray refusal = "HTTP/1.1 407 Proxy Authentication Required\r\n"
                                   "Proxy-Authenticate: Basic realm=\"x\"\r\n"_ba;
        QTest::addColumn<QByteArray>("user");
        QTest::addColumn<QByteArray>("opening");
        QTest::addColumn<QByteArray>("wave");
        QTest::newRow("no line") << ""_ba
                                 << ""_ba << many("A");
        QTest::newRow("lines of the head") << ""_ba << kOk << many("X: y\r\n");
        QTest::newRow("a refusal without end")
            << ""_ba << refusal + "Content-Length: 999999999999\r\n\r\n"
            << many("A");
        QTest::newRow("a refusal of our password without end")
            << "ann:x@"_ba << refusal + "Content-Length: 999999999999\r\n\r\n"
            << many("A");
        QTest::newRow("a refusal of our password in endless chunks")
            << "ann:x@"_ba << refusal + "Transfer-Encoding: chunked\r\n\r\n5;" << many("A");
    }
    void isNotFeltFromAProxyEither()
    {
        QFETCH(QByteArray, user);
        QFETCH(QByteArray, opening);
        QFETCH(QByteArray, wave);
        const FloodServer server(opening, wave);
        qputenv("https_proxy", user + "127.0.0.1:" + QByteArray::number(server.port()));
        bringsNothingOf(server, QUrl(u"https://service.example/"_s));
    }

private:
    /// @p server floods us while we load @p url.
    void bringsNothingOf(const FloodServer &server, const QUrl &url)
    {
        const qint64 before = mostMemory();
        QElapsedTimer watch;
        watch.start();
        world::LongestPause pause;
        QCOMPARE(m_home->loadFrom(url, kTime), std::nullopt);
        const auto longest = pause.length();
        const std::chrono::milliseconds whole(watch.elapsed());
        const qint64 grown = mostMemory() - before;
        QTRY_VERIFY_WITH_TIMEOUT(server.left(), 20'000);
        QVERIFY(server.sent() > 0);
        QVERIFY2(longest < kLongPause, qPrintable(u"%1 ms"_s.arg(longest.count())));
        QVERIFY2(whole < kTime + kLongPause, qPrintable(u"%1 ms"_s.arg(whole.count())));
        QVERIFY2(grown < kMuchMemory, qPrintable(u"%1 KiB"_s.arg(grown)));
    }

    std::unique_ptr<WebHome> m_home;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::WebFloodTest)
#include "WebFloodTest.moc"
