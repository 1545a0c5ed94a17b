// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/Notifiers.h"

#include "mail/SSMTP.h"
#include "platform/linux/desktop/SystemTlsTrust.h"
#include "unit/desktop/Pipe.h"
#include "unit/mail/Certificates.h"
#include "unit/mail/NotifierHome.h"
#include "unit/mail/ScriptedServer.h"
#include "world/LongestPause.h"

#include <QFile>
#include <QObject>
#include <QString>
#include <QTest>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::mail {

namespace {

constexpr int kDeadline = 60'000; // ms

} // namespace

/// A mail where the authorities are still to be read.
class FirstMailTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void holdsNobodyUpWhileAuthoritiesAreRead()
    {
        Authority authority;
        QFile certificate(authority.file());
        QVERIFY(certificate.open(QIODevice::ReadOnly));
        ScriptedServer server;
        server.hasCertificate(authority.server({.alternativeNames = u"IP:127.0.0.1"_s}));
        server.offers({"STARTTLS"}, {});
        NotifierHome home;
        home.preferences.setValue(u"MailServer"_s, u"127.0.0.1"_s);
        home.preferences.setValue(u"Port"_s, QString::number(server.serverPort()));
        home.preferences.setValue(u"Authentication"_s, 0);
        world::FakeConsole console;
        platform::Pipe slow;
        platform::SystemTlsTrust trust(console, slow.path());
        Notifiers notifiers(home.log(), home.console(), home.preferences, home.host, home.names,
                            trust);

        const auto delay = 5s; // what it takes where nothing goes on meanwhile
        world::LongestPause pause;
        slow.fill(certificate.readAll(), delay);
        notifiers.create().sendMessage(u"192.0.2.8"_s, u"192.0.2.7"_s, u"to@example.org"_s,
                                       u"%@ %@ %@"_s);
        QTRY_VERIFY_WITH_TIMEOUT(server.stages().contains("STARTTLS"), kDeadline);
        slow.go();
        QTRY_COMPARE_WITH_TIMEOUT(server.mails().size(), 1, kDeadline);
        const auto longest = pause.length();
        QVERIFY2(longest < delay / 2, qPrintable(u"%1 ms"_s.arg(longest.count())));
        QVERIFY(server.encryptedLines().contains("RCPT TO:<to@example.org>"));
        QCOMPARE(home.said() + console.lines(), QStringList());
    }
};

} // namespace quillfen::mail

using quillfen::mail::FirstMailTest;
QTEST_GUILESS_MAIN(FirstMailTest)
#include "FirstMailTest.moc"
