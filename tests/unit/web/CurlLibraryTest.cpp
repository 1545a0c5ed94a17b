// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/CurlLibrary.h"

#include "platform/Turns.h"
#include "platform/linux/web/CurlUrlLoader.h"
#include "unit/web/WebHome.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

/// Where the system keeps the library that @p curl is from.
QString fileOf(const CurlFunctions &curl)
{
    Dl_info found = {};
    dladdr(reinterpret_cast<void *>(curl.easyInit), &found);
    return QFile::decodeName(found.dli_fname);
}

} // namespace

class CurlLibraryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<WebHome>();
        m_home->server.answerPatiently("/", httpAnswer("200 OK", "Content-Length: 4\r\n", "page"));
    }

    // The first test: here it is not loaded yet.
    void isThereOnceAPageIsWanted()
    {
        QVERIFY(!dlopen(CurlLibrary::kFile, RTLD_LAZY | RTLD_NOLOAD));
        QCOMPARE(m_home->loadFrom(QUrl(u"http://unknown.example/"_s)), std::nullopt);
        QVERIFY(!dlopen(CurlLibrary::kFile, RTLD_LAZY | RTLD_NOLOAD)); // nobody to ask
        QCOMPARE(m_home->load(u"/"_s), Page("page"));
        QVERIFY(dlopen(CurlLibrary::kFile, RTLD_LAZY | RTLD_NOLOAD));
        QCOMPARE(m_home->console.lines(), QStringList());
    }

    void loadsOnceForAllWhoAsk()
    {
        const CurlFunctions *first = nullptr;
        const CurlFunctions *second = nullptr;
        Turns one([](const std::exception_ptr &) {});
        Turns other([](const std::exception_ptr &) {});
        one.take(keep(m_home->curl.functions(), &first));
        other.take(keep(m_home->curl.functions(), &second));
        QVERIFY(one.busy());
        QVERIFY(other.busy());
        QTRY_VERIFY_WITH_TIMEOUT(first && second, 20'000);
        QCOMPARE(first, second);
        one.take(keep(m_home->curl.functions(), &second));
        QVERIFY(!one.busy()); // it need not wait any more
        QCOMPARE(first, second);
    }

    void saysOnceWhatIsMissingAndTriesAgain_data()
    {
        QTest::addColumn<QString>("instead");
        QTest::addColumn<QString>("said");
        QTest::newRow("the file") << QString()
                                  << u"%1: cannot open shared object file: "
                                     "No such file or directory"_s;
        QTest::newRow("its functions") << u"libm.so.6"_s << u"undefined symbol: curl_global_init"_s;
    }

    void saysOnceWhatIsMissingAndTriesAgain()
    {
        QFETCH(QString, instead);
        QFETCH(QString, said);
        const CurlFunctions *const present = settle(m_home->curl.functions(), kPlenty);
        QVERIFY(present);
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"libcurl.so.4"_s);
        if (!instead.isEmpty())
            QVERIFY(QFile::link(systemLibrary(instead), file));
        CurlLibrary curl(m_home->console, QFile::encodeName(file));
        CurlUrlLoader loader(curl, m_home->names, m_home->trust);
        const UrlRequest request{.url = m_home->server.url(u"/"_s), .within = kPlenty};

        for (int attempt = 0; attempt < 2; ++attempt)
            QCOMPARE(settle(loader.load(request), 2 * kPlenty), std::nullopt);
        QCOMPARE(m_home->console.lines().size(), 1);
        const QString line = m_home->console.lines().first();
        QVERIFY(line.startsWith(u"No web pages, as libcurl cannot be loaded: "));
        QVERIFY2(line.contains(said.contains(u'%') ? said.arg(file) : said), qPrintable(line));
        QCOMPARE(m_home->server.requests().size(), 0);

        if (!instead.isEmpty())
            return; // what is loaded under a name stays
        QVERIFY(QFile::link(fileOf(*present), file));
        QCOMPARE(settle(loader.load(request), 2 * kPlenty), Page("page"));
        QCOMPARE(m_home->console.lines().size(), 1);
    }

    void mayBeForgottenWhileItLoads()
    {
        {
            Turns flow([](const std::exception_ptr &) {});
            const UrlRequest request{.url = m_home->server.url(u"/"_s), .within = kPlenty};
            flow.take(discard(m_home->loader.load(request)));
            flow.take(discard(m_home->loader.load(request))); // queues, and goes as well
        }
        QCOMPARE(m_home->load(u"/"_s), Page("page"));
        QCOMPARE(m_home->server.requests().size(), 1);
        // And the loader with all that belongs to it, while what loads is on its way.
        for (int i = 0; i < 20; ++i) {
            WebHome home;
            Turns flow([](const std::exception_ptr &) {});
            const CurlFunctions *none = nullptr;
            flow.take(keep(home.curl.functions(), &none));
            QVERIFY(flow.busy());
        }
        QCoreApplication::processEvents();
        QCOMPARE(m_home->console.lines(), QStringList());
    }

    void loadsWithinTheRequestsTime()
    {
        const QTemporaryDir folder; // where a file that nobody writes to keeps its reader waiting
        const QByteArray file = QFile::encodeName(folder.filePath(u"libcurl.so.4"_s));
        QCOMPARE(mkfifo(file.constData(), 0600), 0);
        CurlLibrary curl(m_home->console, file);
        CurlUrlLoader loader(curl, m_home->names, m_home->trust);
        const UrlRequest request{.url = m_home->server.url(u"/"_s), .within = 200ms};
        QCOMPARE(settle(loader.load(request), kPlenty), std::nullopt);
        QCOMPARE(m_home->console.lines(), QStringList());
        QCOMPARE(m_home->server.requests().size(), 0);
        const int writer =
            open(file.constData(), O_WRONLY | O_CLOEXEC); // it may go on, to find none
        QVERIFY(writer >= 0);
        close(writer);
        QTRY_COMPARE_WITH_TIMEOUT(m_home->console.lines().size(), 1, 20'000);
    }

private:
    static Task<> keep(Task<const CurlFunctions *> functions, const CurlFunctions **kept)
    {
        *kept = co_await std::move(functions);
    }
    static Task<> discard(Task<Page> load) { co_await std::move(load); }
    /// Where the system's library @p name is.
    static QString systemLibrary(const QString &name)
    {
        void *const library = dlopen(name.toUtf8().constData(), RTLD_LAZY);
        Dl_info found = {};
        dladdr(dlsym(library, "cos"), &found);
        return QFile::decodeName(found.dli_fname);
    }

    std::unique_ptr<WebHome> m_home;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::CurlLibraryTest)
#include "CurlLibraryTest.moc"
