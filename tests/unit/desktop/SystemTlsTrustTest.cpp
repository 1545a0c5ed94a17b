// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SystemTlsTrust.h"

#include "platform/Turns.h"
#include "unit/desktop/Pipe.h"
#include "unit/mail/Certificates.h"
#include "world/FakeConsole.h"
#include "world/LongestPause.h"
#include "world/Settle.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QSet>
#include <QTest>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

constexpr auto kPlenty = 60s;
constexpr int kMany = 4000; // certificates, which take about a second
const QString kEndWhileReading = u"--end-while-reading"_s;

Task<> keep(SystemTlsTrust *trust, std::vector<QSslConfiguration> *configurations)
{
    const QSslConfiguration configuration = co_await trust->configuration();
    configurations->push_back(configuration);
}

/// Asks, and goes away a while later without the answer.
int endWhileReading(const QString &file, std::chrono::milliseconds after)
{
    world::FakeConsole console;
    std::vector<QSslConfiguration> configurations;
    SystemTlsTrust trust(console, file);
    Turns turns([](const std::exception_ptr &) {});
    turns.take(keep(&trust, &configurations));
    QTest::qWait(after.count());
    return configurations.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

/// @p certificate with another serial number for each of so many; their signatures are wrong.
QByteArray manyLike(const QSslCertificate &certificate, int count)
{
    QByteArray der = certificate.toDer();
    const QByteArray number = QByteArray::fromHex(certificate.serialNumber().replace(':', ""));
    const qsizetype place = der.indexOf(number) + number.size() - qsizetype(sizeof(int));
    QByteArray text;
    for (int i = 0; i < count; ++i) {
        der.replace(place, sizeof i, reinterpret_cast<const char *>(&i), sizeof i);
        text += "-----BEGIN CERTIFICATE-----\n" + der.toBase64() + "\n-----END CERTIFICATE-----\n";
    }
    return text;
}

QSet<QSslCertificate> setOf(const QList<QSslCertificate> &certificates)
{
    return {certificates.begin(), certificates.end()};
}

} // namespace

class SystemTlsTrustTest : public QObject {
    Q_OBJECT

    mail::Authority m_authority;
    QTemporaryDir m_folder;
    world::FakeConsole m_console;

    QSslCertificate own() const { return QSslCertificate::fromPath(m_authority.file()).value(0); }
    QString file(const QByteArray &bytes) const
    {
        QFile file(m_folder.filePath(u"further.pem"_s));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("no file");
        return file.fileName();
    }

private Q_SLOTS:
    void init() { m_console.takeLines(); }

    void trustsTheSystemsAuthoritiesAndOneMore()
    {
        SystemTlsTrust trust(m_console, m_authority.file());
        const QSslConfiguration configuration = settle(trust.configuration(), kPlenty);
        auto expected = setOf(QSslConfiguration::systemCaCertificates());
        QVERIFY(!expected.contains(own()));
        expected.insert(own());
        QCOMPARE(setOf(configuration.caCertificates()), expected);
        QCOMPARE(configuration.caCertificates().size(), expected.size());
        QCOMPARE(m_console.lines(), QStringList());
    }

    void waitsForNothingWithoutAFurtherFile()
    {
        SystemTlsTrust trust(m_console, {});
        std::vector<QSslConfiguration> configurations;
        Turns turns([](const std::exception_ptr &) {});
        turns.take(keep(&trust, &configurations));
        QCOMPARE(configurations.size(), 1U);
        QCOMPARE(configurations.front(), QSslConfiguration::defaultConfiguration());
    }

    void saysOnceThatAFileGivesNone_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing") << m_folder.filePath(u"missing.pem"_s);
        QTest::newRow("a folder") << m_folder.path();
        QTest::newRow("empty") << u"/dev/null"_s;
        QTest::newRow("a key") << m_folder.filePath(u"key.pem"_s);
        QTest::newRow("no certificate between the lines")
            << file("-----BEGIN CERTIFICATE-----\nbm9uZQ==\n-----END CERTIFICATE-----\n");
    }
    void saysOnceThatAFileGivesNone()
    {
        QFETCH(QString, path);
        SystemTlsTrust trust(m_console, path);
        const QSslConfiguration usual = QSslConfiguration::defaultConfiguration();
        QCOMPARE(settle(trust.configuration(), kPlenty), usual);
        QCOMPARE(settle(trust.configuration(), kPlenty), usual);
        QCOMPARE(m_console.lines(),
                 QStringList{u"No certificates can be read from %1."_s.arg(path)});
    }

    void readsOnceForAllWhoAsk()
    {
        Pipe pipe;
        SystemTlsTrust trust(m_console, pipe.path());
        std::vector<QSslConfiguration> configurations;
        Turns one([](const std::exception_ptr &) {});
        Turns two([](const std::exception_ptr &) {});
        auto three = std::make_unique<Turns>([](const std::exception_ptr &) {});
        one.take(keep(&trust, &configurations));
        two.take(keep(&trust, &configurations));
        three->take(keep(&trust, &configurations));
        three.reset(); // this one did not stay
        QCOMPARE(configurations.size(), 0U);
        pipe.fill(own().toPem());
        QTRY_COMPARE_WITH_TIMEOUT(configurations.size(), 2U, 60'000);
        one.take(keep(&trust, &configurations));
        QCOMPARE(configurations.size(), 3U); // at once
        for (const QSslConfiguration &configuration : configurations)
            QVERIFY(configuration.caCertificates().contains(own()));
    }

    void holdsNobodyUpWhileItReads()
    {
        SystemTlsTrust trust(m_console, file(manyLike(own(), kMany)));
        QElapsedTimer watch;
        watch.start();
        world::LongestPause pause;
        const QSslConfiguration configuration = settle(trust.configuration(), kPlenty);
        const auto longest = pause.length();
        const std::chrono::milliseconds whole(watch.elapsed());
        QVERIFY(configuration.caCertificates().size() >= kMany);
        const QString found = u"%1 ms of %2 ms"_s.arg(longest.count()).arg(whole.count());
        QVERIFY2(longest < whole / 2, qPrintable(found));
    }

    void anEndMeanwhileIsHarmless()
    {
        Pipe pipe;
        std::vector<QSslConfiguration> configurations;
        Turns turns([](const std::exception_ptr &) {});
        {
            SystemTlsTrust trust(m_console, pipe.path());
            turns.take(keep(&trust, &configurations));
            QCoreApplication::processEvents();
        }
        pipe.fill(own().toPem());
        pipe.join();
        QCoreApplication::processEvents();
        QCOMPARE(configurations.size(), 0U);
        QCOMPARE(m_console.lines(), QStringList());
    }

    void theEndDoesNotWaitForAFile()
    {
        const Pipe never;
        QVERIFY(endsWell(never.path(), 100ms));
    }

    void theEndMayComeAtAnyCertificate_data()
    {
        QTest::addColumn<int>("after"); // ms
        for (const int after : {0, 1, 3, 10, 30, 100, 300})
            QTest::addRow("after %d ms", after) << after;
    }
    void theEndMayComeAtAnyCertificate()
    {
        QFETCH(int, after);
        QVERIFY(endsWell(file(manyLike(own(), kMany)), std::chrono::milliseconds(after)));
    }

private:
    /// Whether a process that ends while @p path is read comes to a good end.
    static bool endsWell(const QString &path, std::chrono::milliseconds after)
    {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        child.start(QCoreApplication::applicationFilePath(),
                    {kEndWhileReading, path, QString::number(after.count())});
        return child.waitForFinished(20'000) && child.exitStatus() == QProcess::NormalExit
            && child.exitCode() == EXIT_SUCCESS;
    }
};

} // namespace quillfen::platform

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.value(1) == quillfen::platform::kEndWhileReading) {
        return quillfen::platform::endWhileReading(
            arguments.value(2), std::chrono::milliseconds(arguments.value(3).toInt()));
    }
    quillfen::platform::SystemTlsTrustTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "SystemTlsTrustTest.moc"
