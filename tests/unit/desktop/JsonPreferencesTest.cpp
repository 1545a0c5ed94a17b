// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/JsonPreferences.h"
#include "unit/desktop/InChild.h"
#include "unit/desktop/SettingsFolder.h"
#include "world/FakeConsole.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLockFile>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

class JsonPreferencesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void liveInTheUsersConfigurationFolder_data()
    {
        struct Row {
            const char *name;
            QByteArray configHome;
            QString expected;
        };
        static const Row rows[] = {
            {.name = "named", .configHome = "/tmp/there", .expected = u"/tmp/there"_s},
            {.name = "not named", .configHome = {}, .expected = u"/home/of/test/.config"_s},
            {.name = "relative", .configHome = "there", .expected = u"/home/of/test/.config"_s},
        };
        QTest::addColumn<QByteArray>("configHome");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.configHome << row.expected;
    }
    void liveInTheUsersConfigurationFolder()
    {
        QFETCH(QByteArray, configHome);
        QFETCH(QString, expected);
        qputenv("HOME", "/home/of/test");
        qputenv("XDG_CONFIG_HOME", configHome);
        QCOMPARE(JsonPreferences::standardFolder(), expected + u"/com.corvane.Quillfen"_s);
    }

    void haveNoFolderWithoutAHome_data()
    {
        QTest::addColumn<QByteArray>("home");
        QTest::newRow("unset") << QByteArray();
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("relative") << QByteArray("home/of/test");
    }
    void haveNoFolderWithoutAHome()
    {
        QFETCH(QByteArray, home);
        qunsetenv("XDG_CONFIG_HOME");
        qunsetenv("HOME");
        if (!home.isNull())
            qputenv("HOME", home);
        QCOMPARE(JsonPreferences::standardFolder(), QString());
    }

    void areForTheirUserOnly()
    {
        const SettingsFolder folder;
        umask(0);
        JsonPreferences settings(m_console, folder.path() + u"/new/newer"_s);
        settings.setValue(u"UserPassword"_s, u"secret"_s);
        QVERIFY(settings.synchronize());
        QCOMPARE(SettingsFolder::mode(folder.path() + u"/new"_s), 0700U);
        QCOMPARE(SettingsFolder::mode(folder.path() + u"/new/newer"_s), 0700U);
        QCOMPARE(SettingsFolder::mode(folder.path() + u"/new/newer/settings.json"_s), 0600U);
        umask(022);
    }

    void nothingIsMadeByReading()
    {
        const SettingsFolder folder;
        JsonPreferences settings(m_console, folder.path() + u"/new"_s);
        QVERIFY(settings.synchronize());
        QVERIFY(!settings.value(u"Email"_s));
        QCOMPARE(folder.names(), QStringList());
    }

    void keepWhatTheyDoNotKnow()
    {
        const SettingsFolder folder;
        folder.write(R"({"list": [1, {"deep": [null, true]}], "object": {"a": {"b": "c"}},
                         "none": null, "half": 6.5, "huge": 1e300, "wide": 70000,
                         "exact": 9007199254740993, "MinutesInterval": "seven"})");
        const QJsonObject before = folder.object();
        JsonPreferences settings(m_console, folder.path());
        QVERIFY(settings.synchronize());
        QCOMPARE(settings.value(u"half"_s), QJsonValue(6.5));
        QCOMPARE(settings.value(u"huge"_s), QJsonValue(1e300));
        QCOMPARE(settings.value(u"wide"_s), QJsonValue(70000));
        QCOMPARE(settings.value(u"MinutesInterval"_s), QJsonValue(u"seven"_s));

        settings.setValue(u"Email"_s, u"a@example.org"_s);
        QVERIFY(settings.synchronize());
        QJsonObject expected = before;
        expected.insert(u"Email"_s, u"a@example.org"_s);
        QCOMPARE(folder.object(), expected);
        QVERIFY(folder.bytes().contains("9007199254740993"));
    }

    void writeNothingThatIsThereAlready()
    {
        const SettingsFolder folder;
        folder.write(R"({"TitleIconOnly":true})");
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"TitleIconOnly"_s, true);
        QVERIFY(settings.synchronize());
        QCOMPARE(folder.bytes(), R"({"TitleIconOnly":true})");
    }

    void stayReadableWhateverTheTextIs()
    {
        const SettingsFolder folder;
        JsonPreferences settings(m_console, folder.path());
        const QString odd = QString(QChar(0xd800)) + u"\0\n\"\\\u2028 é 🙂"_s;
        settings.setValue(u"odd"_s, odd);
        QVERIFY(settings.synchronize());
        QVERIFY(!folder.object().isEmpty());
    }

    /// Two changes within one tick of the clock that stamps files look the same to stat(2).
    void seeEachChangeHoweverQuick()
    {
        const SettingsFolder folder;
        JsonPreferences settings(m_console, folder.path());
        for (int i = 100; i < 400; ++i) {
            folder.write("{\"n\":" + QByteArray::number(i) + "}");
            QVERIFY(settings.synchronize());
            QCOMPARE(settings.value(u"n"_s), QJsonValue(i));
        }
        QTest::qWait(100); // from here on a reading counts as settled
        QVERIFY(settings.synchronize());
        for (int i = 400; i < 700; ++i) {
            folder.write("{\"n\":" + QByteArray::number(i) + "}");
            QVERIFY(settings.synchronize());
            QCOMPARE(settings.value(u"n"_s), QJsonValue(i));
        }
    }

    void forgetAFileThatIsGone()
    {
        const SettingsFolder folder;
        folder.write(R"({"n":1})");
        JsonPreferences settings(m_console, folder.path());
        QVERIFY(settings.synchronize());
        QVERIFY(QFile::remove(folder.file()));
        QVERIFY(settings.synchronize());
        QVERIFY(!settings.value(u"n"_s));
    }

    void areWrittenThroughASymbolicLink_data()
    {
        QTest::addColumn<bool>("dangling");
        QTest::newRow("to a file") << false;
        QTest::newRow("to nothing yet") << true;
    }
    void areWrittenThroughASymbolicLink()
    {
        QFETCH(bool, dangling);
        const SettingsFolder folder;
        const SettingsFolder elsewhere;
        if (!dangling)
            elsewhere.write(R"({"theirs":1})");
        QVERIFY(QFile::link(elsewhere.file(), folder.file()));
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"ours"_s, true);
        QVERIFY(settings.synchronize());
        QCOMPARE(QFile::symLinkTarget(folder.file()), elsewhere.file());
        QCOMPARE(elsewhere.object().value(u"ours"_s), QJsonValue(true));
        QCOMPARE(elsewhere.object().contains(u"theirs"_s), !dangling);
        QCOMPARE(SettingsFolder::mode(elsewhere.file()), 0600U);
    }

    void areNotStoredPastWhatCanBeReadBack()
    {
        const SettingsFolder folder;
        folder.write(R"({"n":1})");
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"long"_s, QString(9'000'000, u'x'));
        QVERIFY(!settings.synchronize());
        QCOMPARE(folder.bytes(), R"({"n":1})");
        QCOMPARE(m_console.takeLines().size(), 1);
        settings.setValue(u"long"_s, u"short"_s);
        QVERIFY(settings.synchronize());
    }

    void waitForALockOnceAndNotLong()
    {
        const SettingsFolder folder;
        JsonPreferences settings(m_console, folder.path());
        QLockFile lock(folder.file() + u".lock"_s);
        QVERIFY(lock.tryLock());
        settings.setValue(u"n"_s, 1);
        QElapsedTimer watch;
        watch.start();
        QVERIFY(!settings.synchronize());
        QVERIFY2(watch.elapsed() < 400, "waited too long");
        watch.start();
        QVERIFY(!settings.synchronize());
        QVERIFY2(watch.elapsed() < 100, "waited again");
        QCOMPARE(settings.value(u"n"_s), QJsonValue(1));
        QCOMPARE(m_console.takeLines().size(), 1);
        lock.unlock();
        QVERIFY(settings.synchronize());
        QCOMPARE(folder.object().value(u"n"_s), QJsonValue(1));
        QCOMPARE(folder.names(), QStringList(u"settings.json"_s));
    }

    void takeTheLockOfADeadProcess()
    {
        const SettingsFolder folder;
        QCOMPARE(inChild([&folder] {
                     auto *lock = new QLockFile(folder.file() + u".lock"_s);
                     HOLDS(lock->tryLock());
                     return QByteArray();
                 }),
                 "");
        QCOMPARE(folder.names(), QStringList(u"settings.json.lock"_s));
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"n"_s, 1);
        QVERIFY(settings.synchronize());
        QCOMPARE(folder.names(), QStringList(u"settings.json"_s));
    }

    void cleanup() { m_console.takeLines(); }

private:
    world::FakeConsole m_console;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::JsonPreferencesTest)
#include "JsonPreferencesTest.moc"
