// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Console.h"
#include "support/Log.h"
#include "unit/support/DataHome.h"
#include "unit/support/PrivateMounts.h"
#include "world/FakeConsole.h"
#include "world/FakePreferences.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::support {

class LogOnBadDisksTest : public QObject {
    Q_OBJECT

    std::optional<QTemporaryDir> m_place;
    std::optional<TinyDisk> m_disk;
    std::optional<DataHome> m_home;
    world::FakeConsole m_system;
    Console m_console{m_system};
    world::FakePreferences m_preferences;

private Q_SLOTS:
    void init()
    {
        m_system.takeLines();
        m_place.emplace();
        m_disk.emplace(m_place->path());
        m_home.emplace(m_place->path());
        QVERIFY2(m_disk->mounted(), "mount(2) refused a tmpfs");
    }

    void cleanup()
    {
        m_home.reset();
        m_disk.reset();
    }

    void doesWithoutAFileOnAReadOnlyDisk()
    {
        QVERIFY(m_disk->makeReadOnly());
        Log log(m_console, m_preferences);
        log.OpenPrivateLog();
        log.LogMessage(u"line"_s);
        log.ClosePrivateLog();
        QCOMPARE(m_system.lines(), QStringList{u"line"_s});
        QVERIFY(!QFileInfo::exists(m_home->makerFolder()));
    }

    void leavesAnEarlierFileOnAReadOnlyDiskAlone()
    {
        Log(m_console, m_preferences).OpenPrivateLog();
        QVERIFY(m_disk->makeReadOnly());
        Log log(m_console, m_preferences);
        log.OpenPrivateLog();
        log.LogMessage(u"line"_s);
        log.ClosePrivateLog();
        QCOMPARE(m_system.lines(), QStringList{u"line"_s});
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"[date] stop"_s}));
    }

    void losesOnlyTheLinesThatAFullDiskRefuses()
    {
        m_home->makeProgramFolder();
        QVERIFY(m_disk->fill());
        Log log(m_console, m_preferences);
        log.OpenPrivateLog();
        log.LogMessage(u"lost"_s);
        QCOMPARE(m_home->logLines(), QStringList());
        QVERIFY(m_disk->free());
        log.LogMessage(u"kept"_s);
        log.ClosePrivateLog();
        QCOMPARE(m_system.lines(), QStringList({u"lost"_s, u"kept"_s}));
        QCOMPARE(m_home->logLines(), QStringList({u"[date] kept"_s, u"[date] stop"_s}));
    }

    void gluesNoLineToOneThatADiskTookInPart()
    {
        Log log(m_console, m_preferences);
        log.OpenPrivateLog();
        QVERIFY(m_disk->fill());
        // The file has the rest of its first page of 4096 bytes; a line of 128 bytes straddles
        // its end, as the start line and the lines do not divide it.
        const QString message(99, u'a');
        for (int line = 0; line < 40; ++line)
            log.LogMessage(message);
        QCOMPARE(m_home->log().size(), 4096);
        QVERIFY(!m_home->log().endsWith('\n'));
        QVERIFY(m_disk->free());
        log.LogMessage(u"kept"_s);
        log.ClosePrivateLog();

        const QStringList lines = m_home->logLines();
        QCOMPARE(lines.first(), u"[date] start"_s);
        for (const QString &line : lines.sliced(1, lines.size() - 4))
            QCOMPARE(line, u"[date] "_s + message);
        QVERIFY((u"[date] "_s + message).startsWith(lines.at(lines.size() - 3)));
        QCOMPARE(lines.sliced(lines.size() - 2), QStringList({u"[date] kept"_s, u"[date] stop"_s}));
    }
};

} // namespace quillfen::support

int main(int argc, char **argv)
{
    if (!quillfen::support::enterPrivateMounts()) {
        std::perror("This test needs a mount namespace of its own");
        return 1;
    }
    QCoreApplication application(argc, argv);
    quillfen::support::LogOnBadDisksTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "LogOnBadDisksTest.moc"
