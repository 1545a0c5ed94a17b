// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/UrlExchange.h"

#include "platform/linux/desktop/SystemNameLookup.h"
#include "platform/linux/desktop/SystemTlsTrust.h"
#include "unit/mail/Certificates.h"
#include "unit/web/WebHome.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

const QString kName = u"service.example"_s;

} // namespace

/// Whom a loader connects to, and what he is told.
class WebPeerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<WebHome>(); }

    void asksByNameAtEachAddressUntilOneAnswers()
    {
        // The first belongs to one link, and nobody listens at the second: the server has one
        // address of the loopback network.
        m_home->names.knows(kName, {u"fe80::1%lo"_s, u"127.0.0.2"_s, u"127.0.0.1"_s});
        m_home->server.answer("/", httpAnswer("200 OK", {}, "page"));
        QCOMPARE(m_home->loadFrom(m_home->server.url(u"/"_s, kName)), Page("page"));
        QVERIFY(m_home->server.requests().value(0).contains("\r\nHost: service.example:"));
    }

    void asksByAddressesOfBothKinds_data()
    {
        QTest::addColumn<QString>("host"); // as it is looked up
        QTest::addColumn<QByteArray>("said");
        QTest::newRow("a name") << u"service.example"_s << "service.example"_ba;
        QTest::newRow("an address") << u"192.0.2.1"_s << "192.0.2.1"_ba;
        QTest::newRow("an address of the newer kind") << u"2001:db8::1"_s << "[2001:db8::1]"_ba;
        QTest::newRow("another script's name")
            << u"xn--bcher-kva.example"_s << "xn--bcher-kva.example"_ba;
    }

    void asksByAddressesOfBothKinds()
    {
        QFETCH(QString, host);
        QFETCH(QByteArray, said);
        SystemNameLookup names([host](const QString &name) -> NameAnswer {
            if (name != host)
                return {.addresses = {}, .trouble = u"not known"_s};
            // Nobody listens at the first two.
            return {.addresses = {u"::1"_s, u"127.0.0.2"_s, u"127.0.0.1"_s}, .trouble = {}};
        });
        CurlUrlLoader loader(m_home->curl, names, m_home->trust);
        m_home->server.answer("/", httpAnswer("200 OK", {}, "page"));
        QUrl url = m_home->server.url(u"/"_s);
        url.setHost(host);
        QCOMPARE(settle(loader.load({.url = url, .within = kPlenty}), kPlenty), Page("page"));
        QVERIFY(m_home->server.requests().value(0).contains("\r\nHost: " + said + ':'));
    }

    void looksNamesUpWithinItsTime()
    {
        m_home->names.keepSilent();
        QCOMPARE(m_home->loadFrom(QUrl(u"http://service.example/"_s), 200ms), std::nullopt);
    }

    void bringsNothingForANameThatIsNotKnown()
    {
        QCOMPARE(m_home->loadFrom(QUrl(u"http://service.example/"_s)), std::nullopt);
    }

    void goesThroughTheProxyThatTheEnvironmentNames()
    {
        qputenv("http_proxy", "127.0.0.1:" + QByteArray::number(m_home->server.port()));
        m_home->server.answer("http://service.example/", httpAnswer("200 OK", {}, "page"));
        QCOMPARE(m_home->loadFrom(QUrl(u"http://service.example/"_s)), Page("page"));
    }

    void looksTheNameOfAProxyUp()
    {
        qputenv("all_proxy", "http://service.example:" + QByteArray::number(m_home->server.port()));
        m_home->names.knows(kName, {u"127.0.0.1"_s});
        m_home->server.answer("http://other.example/", httpAnswer("200 OK", {}, "page"));
        QCOMPARE(m_home->loadFrom(QUrl(u"http://other.example/"_s)), Page("page"));
    }

    void goesThroughAProxyToAServerWithACertificate()
    {
        mail::Authority authority;
        m_home->trust.trusts(authority.file());
        WebServer sealed(authority.server({.alternativeNames = u"DNS:service.example"_s}));
        sealed.answer("/", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
        qputenv("https_proxy", "127.0.0.1:" + QByteArray::number(m_home->server.port()));
        m_home->server.answer("service.example:443", [&sealed](QTcpSocket &client) {
            client.disconnect(SIGNAL(readyRead()));
            auto *const onward = new QTcpSocket(&client);
            onward->connectToHost(QHostAddress::LocalHost, sealed.port());
            connect(&client, &QTcpSocket::readyRead, onward,
                    [&client, onward] { onward->write(client.readAll()); });
            connect(onward, &QTcpSocket::readyRead, &client,
                    [&client, onward] { client.write(onward->readAll()); });
            client.write("HTTP/1.1 200 Connection established\r\n\r\n");
        });
        QCOMPARE(m_home->loadFrom(QUrl(u"https://service.example/"_s)), Page("page"));
        QVERIFY(m_home->server.requests().value(0).startsWith("CONNECT service.example:443 "));
    }

    void saysThePasswordToWhoAsksForIt_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("question");
        QTest::addColumn<QByteArray>("said");
        QTest::newRow("the server") << "/"_ba
                                    << "401 Unauthorized\r\nWWW-Authenticate: Basic realm=x"_ba
                                    << "\r\nAuthorization: Basic "_ba;
        QTest::newRow("the proxy") << "http://service.example/"_ba
                                   << "407 Not you\r\nProxy-Authenticate: Basic realm=x"_ba
                                   << "\r\nProxy-Authorization: Basic "_ba;
    }
    void saysThePasswordToWhoAsksForIt()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, question);
        QFETCH(QByteArray, said);
        said += "ann:s t"_ba.toBase64();
        m_home->server.answer(path, [this, question, said](QTcpSocket &client) {
            const bool known = m_home->server.requests().last().contains(said);
            client.write(known ? httpAnswer("200 OK", {}, "page")
                               : httpAnswer(question, "Content-Length: 4\r\n", "none"));
            client.disconnectFromHost();
        });
        QUrl url = m_home->server.url(u"/"_s);
        url.setUserInfo(u"ann:s t"_s);
        if (path != "/") {
            qputenv("http_proxy", url.toEncoded());
            url = QUrl(u"http://service.example/"_s);
        }
        QCOMPARE(m_home->loadFrom(url), Page("page"));
        QCOMPARE(m_home->server.requests().size(), 2);
        QVERIFY(!m_home->server.requests().value(0).contains("Authorization"));
    }

    void trustsAServerThatTheFurtherFileTrusts()
    {
        mail::Authority authority;
        WebServer server(authority.server({.alternativeNames = u"DNS:service.example"_s}));
        server.answer("/", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
        m_home->names.knows(kName, {u"127.0.0.1"_s});
        const UrlRequest request{.url = server.url(u"/"_s, kName), .within = kPlenty};

        SystemTlsTrust usual(m_home->console, {});
        CurlUrlLoader careful(m_home->curl, m_home->names, usual);
        QCOMPARE(settle(careful.load(request), kPlenty), std::nullopt);

        SystemTlsTrust more(m_home->console, authority.file());
        CurlUrlLoader loader(m_home->curl, m_home->names, more);
        QCOMPARE(settle(loader.load(request), kPlenty), Page("page"));
        const UrlRequest another{.url = server.url(u"/"_s), .within = kPlenty};
        QCOMPARE(settle(loader.load(another), kPlenty), std::nullopt); // not its name
        QCOMPARE(server.requests().size(), 1);
        QVERIFY(server.requests().value(0).contains("\r\nHost: service.example:"));
    }

    void asksWhomToTrustWithinItsTime()
    {
        m_home->trust.keepSilent();
        m_home->server.answerPatiently("/", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
        QCOMPARE(m_home->load(u"/"_s), Page("page")); // in clear it need not know
        QUrl url = m_home->server.url(u"/"_s);
        url.setScheme(u"https"_s);
        QCOMPARE(m_home->loadFrom(url, 300ms), std::nullopt);
        QCOMPARE(m_home->trust.waiting(), 1U);
        m_home->trust.speak();
        QCOMPARE(m_home->server.requests().size(), 1);
    }

private:
    std::unique_ptr<WebHome> m_home;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::WebPeerTest)
#include "WebPeerTest.moc"
