// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Turns.h"
#include "platform/linux/desktop/SystemNameLookup.h"
#include "platform/linux/web/CurlLibrary.h"
#include "platform/linux/web/CurlUrlLoader.h"
#include "unit/web/WebServer.h"
#include "world/FakeConsole.h"
#include "world/FakeTlsTrust.h"
#include "world/FakeUrlLoader.h"
#include "world/Settle.h"

#include <QTest>

#include <chrono>
#include <memory>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

using Page = std::optional<QByteArray>;

/// A loader, and a service that it can ask.
class WebWorld {
public:
    virtual ~WebWorld() = default;
    virtual UrlLoader &loader() = 0;
    virtual QUrl service() const = 0;
    virtual void answers(const QByteArray &page) = 0;
    virtual void refuses() = 0;
    virtual void keepsSilent() = 0;
    /// How many requests the service got.
    virtual qsizetype requests() = 0;
    /// Lets the time pass in which an answer would have had to come.
    virtual void passDeadline() = 0;
};

class RealWeb : public WebWorld {
public:
    UrlLoader &loader() override { return m_loader; }
    QUrl service() const override { return m_url; }
    void answers(const QByteArray &page) override
    {
        const QByteArray length = "Content-Length: " + QByteArray::number(page.size()) + "\r\n";
        m_server->answerPatiently("/", httpAnswer("200 OK", length, page));
    }
    void refuses() override { m_server.reset(); }
    void keepsSilent() override
    {
        m_server->answer("/", [](QTcpSocket &) {});
    }
    qsizetype requests() override { return m_server->requests().size(); }
    void passDeadline() override { } // the loader's own clock does

private:
    SystemNameLookup m_names;
    world::FakeTlsTrust m_trust;
    world::FakeConsole m_console;
    CurlLibrary m_curl{m_console};
    CurlUrlLoader m_loader{m_curl, m_names, m_trust};
    std::unique_ptr<WebServer> m_server = std::make_unique<WebServer>();
    QUrl m_url = m_server->url(u"/"_s);
};

class FakeWeb : public WebWorld {
public:
    UrlLoader &loader() override { return m_loader; }
    QUrl service() const override { return QUrl(u"http://service.example/"_s); }
    void answers(const QByteArray &page) override { m_loader.answers(page); }
    void refuses() override { m_loader.refuses(); }
    void keepsSilent() override { m_loader.keepsSilent(); }
    qsizetype requests() override { return m_loader.takeRequests().size(); }
    void passDeadline() override { m_loader.giveUp(); }

private:
    world::FakeUrlLoader m_loader;
};

Task<> keep(Task<Page> load, std::vector<Page> *pages)
{
    Page page = co_await std::move(load);
    pages->push_back(std::move(page));
}

} // namespace

class UrlLoaderContract : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("real");
        QTest::newRow("CurlUrlLoader") << true;
        QTest::newRow("FakeUrlLoader") << false;
    }
    void init()
    {
        QFETCH_GLOBAL(bool, real);
        for (const char *name : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"})
            qunsetenv(name);
        if (real)
            m_web = std::make_unique<RealWeb>();
        else
            m_web = std::make_unique<FakeWeb>();
        m_pages.clear();
        m_flow = std::make_unique<Turns>([](const std::exception_ptr &) {});
    }
    void cleanup() { m_flow.reset(); }

    void asksNobodyBeforeItIsAwaited()
    {
        m_web->answers("page");
        {
            const Task<Page> load = m_web->loader().load(request(20s));
            QTest::qWait(50);
        }
        QCOMPARE(m_web->requests(), 0);
    }

    void bringsWhatTheServiceAnswers()
    {
        const QByteArray page = "a\0b\xff\n"_ba;
        m_web->answers(page);
        start(20s);
        QTRY_COMPARE_WITH_TIMEOUT(m_pages, std::vector<Page>{page}, 20'000);
    }

    void asksAnewEachTime()
    {
        m_web->answers("one");
        start(20s);
        QTRY_COMPARE_WITH_TIMEOUT(m_pages, std::vector<Page>{"one"}, 20'000);
        m_web->answers("two");
        start(20s);
        QTRY_COMPARE_WITH_TIMEOUT(m_pages, (std::vector<Page>{"one", "two"}), 20'000);
        QCOMPARE(m_web->requests(), 2);
    }

    void bringsNothingWhenNobodyAnswers()
    {
        m_web->refuses();
        start(20s);
        QTRY_COMPARE_WITH_TIMEOUT(m_pages, std::vector<Page>{std::nullopt}, 20'000);
    }

    void bringsNothingAfterItsTime()
    {
        m_web->keepsSilent();
        start(200ms);
        QVERIFY(m_flow->busy());
        m_web->passDeadline();
        QTRY_COMPARE_WITH_TIMEOUT(m_pages, std::vector<Page>{std::nullopt}, 20'000);
    }

    void bringsNothingToWhoWentAway()
    {
        m_web->keepsSilent();
        start(20s);
        QCoreApplication::processEvents();
        m_flow.reset();
        m_web->passDeadline();
        QCoreApplication::processEvents();
        QVERIFY(m_pages.empty());
    }

private:
    UrlRequest request(std::chrono::milliseconds within) const
    {
        return {.url = m_web->service(), .within = within};
    }
    void start(std::chrono::milliseconds within)
    {
        m_flow->take(keep(m_web->loader().load(request(within)), &m_pages));
    }

    std::unique_ptr<WebWorld> m_web;
    std::vector<Page> m_pages;
    std::unique_ptr<Turns> m_flow;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::UrlLoaderContract)
#include "UrlLoaderContract.moc"
