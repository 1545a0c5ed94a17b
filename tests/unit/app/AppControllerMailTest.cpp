// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QJsonValue>
#include <QObject>
#include <QTest>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::app {

namespace {

const QString kAlerts = u"Sending email alerts"_s;
const QString kLocalBody = u"Quillfen has refreshed. The IP address of machine \"desk\" has "
                           "changed from: 192.0.2.7 to 198.51.100.4"_s;
const QString kExternalBody = u"Quillfen has refreshed. The External IP address of machine "
                              "\"desk\" has changed from: 0.0.0.0 to 203.0.113.7"_s;

/// What is logged while a mail to @p recipient is put on its way. No @p body: it is not logged.
QStringList composed(const QString &recipient, const QString &body)
{
    QStringList lines{u"Composing message to %1."_s.arg(recipient)};
    if (!body.isEmpty())
        lines.append(body);
    lines.append(u"Connecting to the mail.example server..."_s);
    return lines;
}

QByteArray page(const QByteArray &address)
{
    return "Current IP Address: " + address + "</body></html>";
}

/// A machine with an address and a mail server that nobody can find.
void desk(world::World &world, const QJsonValue &recipients)
{
    world.network.plugIn(u"eth0", u"192.0.2.7");
    world.host.setMachineName(u"desk"_s);
    auto &stored = world.preferences.disk().values;
    stored[u"SendEmailNotifications"_s] = true;
    stored[u"MailServer"_s] = u"mail.example"_s;
    stored[u"LastIPAddress"_s] = u"192.0.2.7"_s;
    if (!recipients.isUndefined())
        stored[u"Email"_s] = recipients;
}

/// The lines of one change of the local address, from its report to the refresh's end.
QStringList changeLines(world::World &world)
{
    world.takeLog();
    world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
    if (!world.rests())
        return {};
    const QStringList lines = world.takeLog();
    const qsizetype from =
        lines.indexOf(u"(First) Internal IP address changed from:192.0.2.7 to:198.51.100.4"_s);
    const qsizetype to = lines.indexOf(u"Quillfen 1.0.0 refreshed. (198.51.100.4)"_s);
    return lines.mid(from + 1, to - from - 1);
}

} // namespace

class AppControllerMailTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void mailsALocalChange_data()
    {
        struct Row {
            const char *name;
            QJsonValue recipients;
            QStringList lines;
        };
        static const Row rows[] = {
            {.name = "one",
             .recipients = u"ann@a.example"_s,
             .lines = QStringList{kAlerts} + composed(u"ann@a.example"_s, kLocalBody)},
            {.name = "two, with a blank",
             .recipients = u"ann@a.example, bob@b.example"_s,
             .lines = QStringList{kAlerts} + composed(u"ann@a.example"_s, kLocalBody)
                 + composed(u" bob@b.example"_s, kLocalBody)},
            {.name = "nobody between commas",
             .recipients = u",ann@a.example,,"_s,
             .lines = QStringList{kAlerts} + composed(u"ann@a.example"_s, kLocalBody)},
            {.name = "an empty text", .recipients = u""_s, .lines = {kAlerts}},
            {.name = "none stored", .recipients = QJsonValue::Undefined, .lines = {kAlerts}},
            {.name = "a number", .recipients = 7, .lines = {kAlerts}},
        };
        QTest::addColumn<QJsonValue>("recipients");
        QTest::addColumn<QStringList>("lines");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.recipients << row.lines;
    }
    void mailsALocalChange()
    {
        QFETCH(QJsonValue, recipients);
        world::World world;
        desk(world, recipients);
        QVERIFY(world.start());
        QTEST(changeLines(world), "lines");
        const bool said = world.console.lines().contains(
            u"The setting \"Email\" is not a text: no mail is sent."_s);
        QCOMPARE(said, recipients.isDouble());
    }

    void mailsNothingUnlessAsked()
    {
        world::World world;
        desk(world, u"ann@a.example"_s);
        world.preferences.disk().values[u"SendEmailNotifications"_s] = false;
        QVERIFY(world.start());
        QCOMPARE(changeLines(world), QStringList());
    }

    void mailsNothingWithoutAServer()
    {
        world::World world;
        desk(world, u"ann@a.example"_s);
        world.preferences.disk().values.remove(u"MailServer"_s);
        QVERIFY(world.start());
        QCOMPARE(changeLines(world), QStringList{kAlerts});
    }

    void mailsTheFirstAddressEver()
    {
        world::World world;
        desk(world, u"ann@a.example"_s);
        world.preferences.disk().values.remove(u"LastIPAddress"_s);
        QVERIFY(world.start());
        const QStringList lines = world.takeLog();
        const qsizetype at = lines.indexOf(kAlerts);
        QCOMPARE(lines.value(at - 1),
                 u"(First) Internal IP address changed from:(null) to:192.0.2.7"_s);
        QCOMPARE(lines.mid(at + 1, 2), composed(u"ann@a.example"_s, {}));
    }

    void mailsWhenTheNetworkComesBackButNotWhenItGoes()
    {
        world::World world;
        desk(world, u"ann@a.example"_s);
        QVERIFY(world.start());
        world.takeLog();
        world.network.unplug(u"eth0");
        QVERIFY(world.rests());
        QVERIFY(!world.takeLog().contains(kAlerts));
        world.network.plugIn(u"eth0", u"192.0.2.7");
        QVERIFY(world.rests());
        QVERIFY(world.logHas(u"has changed from: -.-.-.- to 192.0.2.7"_s));
    }

    void mailsAnExternalChangeBeforeItIsRemembered()
    {
        world::World world;
        desk(world, u"ann@a.example, bob@b.example,"_s);
        world.preferences.disk().values[u"EmailChangesToExternalIPAddress"_s] = true;
        world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());
        const QStringList lines = world.takeLog();
        const qsizetype at = lines.indexOf(kAlerts);
        QCOMPARE(lines.value(at - 1), u"External IP address changed from:0.0.0.0 to:203.0.113.7"_s);
        QCOMPARE(lines.mid(at + 1, 6),
                 composed(u"ann@a.example"_s, kExternalBody)
                     + composed(u" bob@b.example"_s, kExternalBody));
        QVERIFY(lines.value(at + 7).startsWith(u"Next external IP address check"));
        QCOMPARE(world.preferences.disk().values.value(u"LastExternalIPAddress"_s),
                 u"203.0.113.7"_s);
    }

    void goesOnWhenNoServerIsFound()
    {
        world::World world;
        desk(world, u"ann@a.example, bob@b.example"_s);
        QVERIFY(world.start());
        changeLines(world);
        QStringList lines;
        const auto bothEnded = [&world, &lines] {
            lines += world.takeLog();
            return lines.count(u"Connection terminated."_s) == 2;
        };
        QVERIFY(QTest::qWaitFor(bothEnded, 10'000));
        QCOMPARE(lines.filter(u"Connection"_s),
                 QStringList({u"Connection lost."_s, u"Connection terminated."_s,
                              u"Connection lost."_s, u"Connection terminated."_s}));
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppControllerMailTest)
#include "AppControllerMailTest.moc"
