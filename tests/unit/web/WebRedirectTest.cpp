// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/UrlExchange.h"

#include "unit/mail/Certificates.h"
#include "unit/web/WebHome.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

/// Where a server may send us.
class WebRedirectTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<WebHome>(); }

    void followsThreeRedirectsAndNoMore()
    {
        for (int i = 4; i > 0; --i)
            m_home->server.answerPatiently("/" + QByteArray::number(i),
                                           redirectTo("/" + QByteArray::number(i - 1)));
        m_home->server.answerPatiently("/0", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
        QCOMPARE(m_home->load(u"/3"_s), Page("page"));
        QCOMPARE(m_home->server.requests().size(), 4);
        QCOMPARE(m_home->load(u"/4"_s), std::nullopt);
        QCOMPARE(m_home->server.requests().size(), 8);
    }

    void endsALoopOfRedirects()
    {
        m_home->server.answerPatiently("/", redirectTo("/"));
        QCOMPARE(m_home->load(u"/"_s), std::nullopt);
        QCOMPARE(m_home->server.requests().size(), 4);
    }

    void followsEachKindOfRedirect_data()
    {
        QTest::addColumn<QByteArray>("status");
        for (const char *status : {"301 Moved Permanently", "302 Found", "303 See Other",
                                   "307 Temporary Redirect", "308 Permanent Redirect"})
            QTest::newRow(status) << QByteArray(status);
    }

    void followsEachKindOfRedirect()
    {
        QFETCH(QByteArray, status);
        // What comes with it is of no use, and may have no end.
        m_home->server.answerPatiently(
            "/", httpAnswer(status, "Location: /b\r\nContent-Length: 999\r\n", "elsewhere"));
        m_home->server.answer("/b", httpAnswer("200 OK", {}, "page"));
        QCOMPARE(m_home->load(u"/"_s), Page("page"));
    }

    void followsToWhereTheServerSays_data()
    {
        QTest::addColumn<QByteArray>("place");
        QTest::addColumn<QByteArray>("path"); // as asked for
        QTest::newRow("a place of this server") << "/b"_ba
                                                << "/b"_ba;
        QTest::newRow("beside") << "b?x=%20"_ba
                                << "/a/b?x=%20"_ba;
        QTest::newRow("above") << "../b"_ba
                               << "/b"_ba;
        QTest::newRow("another question") << "?x"_ba
                                          << "/a/c?x"_ba;
        QTest::newRow("another server's, in full") << "http://service.example:PORT/b"_ba
                                                   << "/b"_ba;
        QTest::newRow("another server's, by our scheme") << "//service.example:PORT/"_ba
                                                         << "/"_ba;
        QTest::newRow("with a part of the page") << "/b#c"_ba
                                                 << "/b"_ba;
    }

    void followsToWhereTheServerSays()
    {
        QFETCH(QByteArray, place);
        QFETCH(QByteArray, path);
        WebServer other;
        const bool toOther = place.contains("service.example");
        place.replace("PORT", QByteArray::number(other.port()));
        m_home->server.answerPatiently("/a/c", redirectTo(place));
        (toOther ? other : m_home->server).answer(path, httpAnswer("200 OK", {}, "page"));
        m_home->names.knows(u"service.example"_s, {u"127.0.0.1"_s});
        QCOMPARE(m_home->load(u"/a/c"_s), Page("page"));
        QCOMPARE(other.requests().size(), toOther ? 1 : 0);
    }

    void followsFromOneSchemeToTheOther()
    {
        mail::Authority authority;
        m_home->trust.trusts(authority.file());
        WebServer sealed(authority.server({.alternativeNames = u"IP:127.0.0.1"_s}));
        sealed.answerPatiently("/out", redirectTo(m_home->server.url(u"/in"_s).toEncoded()));
        sealed.answer("/", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
        m_home->server.answerPatiently("/in", redirectTo(sealed.url(u"/"_s).toEncoded()));
        QCOMPARE(m_home->loadFrom(sealed.url(u"/out"_s)), Page("page"));
    }

    void followsToTheWebOnly_data()
    {
        QTest::addColumn<QByteArray>("place");
        QTest::newRow("a file") << "file:///etc/hostname"_ba;
        QTest::newRow("another scheme") << "ftp://127.0.0.1/"_ba;
        QTest::newRow("data") << "data:text/plain,page"_ba;
        QTest::newRow("no server") << "http:///"_ba;
        QTest::newRow("nonsense") << "http://[/"_ba;
    }

    void followsToTheWebOnly()
    {
        QFETCH(QByteArray, place);
        m_home->server.answerPatiently("/", redirectTo(place));
        QCOMPARE(m_home->load(u"/"_s), std::nullopt);
        QCOMPARE(m_home->server.requests().size(), 1);
    }

private:
    std::unique_ptr<WebHome> m_home;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::WebRedirectTest)
#include "WebRedirectTest.moc"
