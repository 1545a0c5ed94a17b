// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/JsonPreferences.h"
#include "unit/desktop/InChild.h"
#include "unit/desktop/SettingsFolder.h"
#include "world/FakeConsole.h"

#include <QElapsedTimer>
#include <QTest>

#include <functional>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(std::function<void(const quillfen::platform::SettingsFolder &)>)

namespace quillfen::platform {

namespace {

using Put = std::function<void(const SettingsFolder &)>;

Put bytes(const QByteArray &bytes)
{
    return [bytes](const SettingsFolder &folder) { folder.write(bytes); };
}

QByteArray encoded(const QString &path)
{
    return QFile::encodeName(path);
}

ino_t inodeOf(const QString &path)
{
    struct stat status = {};
    return lstat(encoded(path).constData(), &status) == 0 ? status.st_ino : 0;
}

bool writeTo(const QString &path, const QByteArray &text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        && file.write(text) == text.size();
}

/// Mounts of our own, for which anybody but root needs to be root in a user space of his own.
/// @source user_namespaces(7).
bool unshareMounts()
{
    const QByteArray user = "0 " + QByteArray::number(geteuid()) + " 1";
    const QByteArray group = "0 " + QByteArray::number(getegid()) + " 1";
    if (geteuid() == 0)
        return unshare(CLONE_NEWNS) == 0;
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && writeTo(u"/proc/self/uid_map"_s, user)
        && writeTo(u"/proc/self/setgroups"_s, "deny") && writeTo(u"/proc/self/gid_map"_s, group);
}

/// A disk of 64 KiB of our own at @p path; nobody else sees it.
bool mountSmallDisk(const QString &path)
{
    return unshareMounts() && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mount("small", encoded(path).constData(), "tmpfs", 0, "size=64k,mode=0777") == 0;
}

} // namespace

/// Files that are not as they should be, and places that refuse.
class SettingsTroubleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatCannotBeUsedIsPutAsideUntouched_data()
    {
        struct Row {
            const char *name;
            Put put;
        };
        static const Row rows[] = {
            {.name = "empty", .put = bytes("")},
            {.name = "no JSON", .put = bytes("MailServer = example.org\n")},
            {.name = "cut short", .put = bytes("{\"Email\": \"a@exam")},
            {.name = "an array", .put = bytes("[1, 2]")},
            {.name = "text behind it", .put = bytes("{} {}")},
            {.name = "no UTF-8", .put = bytes("{\"Email\": \"\xff\xfe\"}")},
            {.name = "nested too deep", .put = bytes("{\"a\":" + QByteArray(5000, '['))},
            {.name = "100 MB",
             .put =
                 [](const SettingsFolder &folder) {
                     folder.write("{}");
                     QVERIFY(QFile::resize(folder.file(), 100'000'000));
                 }},
            {.name = "a FIFO",
             .put =
                 [](const SettingsFolder &folder) {
                     QCOMPARE(mkfifo(encoded(folder.file()).constData(), 0600), 0);
                 }},
            {.name = "a folder",
             .put =
                 [](const SettingsFolder &folder) {
                     QVERIFY(QDir().mkpath(folder.file() + u"/within"_s));
                 }},
            {.name = "a link to a device",
             .put =
                 [](const SettingsFolder &folder) {
                     QVERIFY(QFile::link(u"/dev/null"_s, folder.file()));
                 }},
        };
        QTest::addColumn<Put>("put");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.put;
    }
    void whatCannotBeUsedIsPutAsideUntouched()
    {
        QFETCH(Put, put);
        const SettingsFolder folder;
        put(folder);
        const ino_t inode = inodeOf(folder.file());
        const QByteArray contents = QFileInfo(folder.file()).isFile() ? folder.bytes() : "";

        JsonPreferences settings(m_console, folder.path());
        // A file that was written this very moment is left alone until it has settled.
        QTRY_VERIFY(settings.synchronize() && folder.aside().size() == 1);
        QCOMPARE(folder.names(), folder.aside());
        const QString aside = folder.path() + u'/' + folder.aside().constFirst();
        QCOMPARE(inodeOf(aside), inode);
        if (!contents.isEmpty())
            QCOMPARE(folder.bytesOf(aside), contents);
        QCOMPARE(m_console.lines().size(), 1);
        QVERIFY(m_console.lines().constFirst().contains(aside));

        QVERIFY(settings.synchronize());
        QVERIFY(!settings.value(u"Email"_s));
        settings.setValue(u"Email"_s, u"b@example.org"_s);
        QVERIFY(settings.synchronize());
        QCOMPARE(folder.object().value(u"Email"_s), QJsonValue(u"b@example.org"_s));
        QCOMPARE(m_console.lines().size(), 1);
        QVERIFY(QFileInfo(u"/dev/null"_s).exists());
    }

    void nothingPutAsideReplacesAnother()
    {
        const SettingsFolder folder;
        JsonPreferences settings(m_console, folder.path());
        for (int i = 1; i <= 4; ++i) {
            folder.write("damaged " + QByteArray::number(i));
            QTRY_VERIFY(settings.synchronize() && folder.aside().size() == i);
        }
        QStringList kept;
        for (const QString &name : folder.aside())
            kept += QString::fromLatin1(folder.bytesOf(folder.path() + u'/' + name));
        kept.sort();
        QCOMPARE(kept.join(u','), u"damaged 1,damaged 2,damaged 3,damaged 4"_s);
    }

    void aTargetBehindALinkStaysWhereItIs()
    {
        const SettingsFolder folder;
        const SettingsFolder elsewhere;
        elsewhere.write("damaged");
        QVERIFY(QFile::link(elsewhere.file(), folder.file()));
        JsonPreferences settings(m_console, folder.path());
        QTRY_VERIFY(settings.synchronize() && folder.aside().size() == 1);
        QCOMPARE(elsewhere.names(), QStringList(u"settings.json"_s));
        QCOMPARE(elsewhere.bytes(), "damaged");
    }

    void anEditorMayTakeItsTime()
    {
        const SettingsFolder folder;
        folder.write(R"({"n":1})");
        JsonPreferences settings(m_console, folder.path());
        QVERIFY(settings.synchronize());
        folder.write(""); // emptied, and filled a moment later
        settings.setValue(u"ours"_s, true);
        QVERIFY(!settings.synchronize());
        QCOMPARE(settings.value(u"n"_s), QJsonValue(1));
        folder.write(R"({"n":2})");
        QVERIFY(settings.synchronize());
        QCOMPARE(settings.value(u"n"_s), QJsonValue(2));
        QCOMPARE(folder.object().value(u"ours"_s), QJsonValue(true));
        QCOMPARE(folder.names(), QStringList(u"settings.json"_s));
        QCOMPARE(m_console.lines(), QStringList());
    }

    void whatCannotBeReadIsNeverOverwritten()
    {
        const SettingsFolder folder;
        folder.write(R"({"n":1})");
        giveToNobody(folder);
        QCOMPARE(chmod(encoded(folder.file()).constData(), 0), 0);
        const Unprivileged now;
        JsonPreferences settings(m_console, folder.path());
        QVERIFY(settings.synchronize());
        QVERIFY(!settings.value(u"n"_s));
        settings.setValue(u"ours"_s, true);
        for (int i = 0; i < 3; ++i)
            QVERIFY(!settings.synchronize());
        QCOMPARE(settings.value(u"ours"_s), QJsonValue(true));
        QCOMPARE(m_console.takeLines().size(), 1);

        QCOMPARE(chmod(encoded(folder.file()).constData(), 0600), 0);
        QCOMPARE(folder.bytes(), R"({"n":1})");
        QVERIFY(settings.synchronize());
        QCOMPARE(folder.object(), (QJsonObject{{u"n"_s, 1}, {u"ours"_s, true}}));

        QCOMPARE(chmod(encoded(folder.file()).constData(), 0), 0);
        QVERIFY(settings.synchronize());
        QCOMPARE(m_console.lines().size(), 1); // all was well in between: said again
    }

    void aReadOnlyFolderCostsNoValue()
    {
        const SettingsFolder folder;
        folder.write(R"({"n":1})");
        giveToNobody(folder);
        QCOMPARE(chmod(encoded(folder.path()).constData(), 0500), 0);
        const Unprivileged now;
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"ours"_s, true);
        for (int i = 0; i < 3; ++i)
            QVERIFY(!settings.synchronize());
        QCOMPARE(settings.value(u"ours"_s), QJsonValue(true));
        QCOMPARE(folder.bytes(), R"({"n":1})");
        QCOMPARE(
            m_console.lines(),
            QStringList(u"The settings wait for %1: it cannot be made (Permission denied)"_s.arg(
                lockOf(folder))));

        QCOMPARE(chmod(encoded(folder.path()).constData(), 0700), 0);
        QVERIFY(settings.synchronize());
        QCOMPARE(folder.object(), (QJsonObject{{u"n"_s, 1}, {u"ours"_s, true}}));
    }

    void aDamagedFileInAReadOnlyFolderStays()
    {
        const SettingsFolder folder;
        folder.write("damaged");
        giveToNobody(folder);
        QCOMPARE(chmod(encoded(folder.path()).constData(), 0500), 0);
        QTest::qWait(100); // until it has settled
        const Unprivileged now;
        JsonPreferences settings(m_console, folder.path());
        settings.synchronize();
        QCOMPARE(m_console.lines().filter(folder.file() + u" cannot be used"_s).size(), 1);
        QCOMPARE(m_console.lines().size(), 2); // and that it cannot be put aside
        settings.setValue(u"ours"_s, true);
        QVERIFY(!settings.synchronize());
        QVERIFY(!settings.synchronize());
        QCOMPARE(folder.bytes(), "damaged");
        QCOMPARE(m_console.lines().size(), 2);
        QCOMPARE(chmod(encoded(folder.path()).constData(), 0700), 0);
    }

    /// A page of one megabyte may come as an address; nothing else may go short of room for that.
    void theLongestAddressFindsRoom()
    {
        const SettingsFolder folder;
        const QString address(1024 * 1024, QChar(u'\1')); // six characters in the file, each
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"LastExternalIPAddress"_s, address);
        QVERIFY(settings.synchronize());
        settings.setValue(u"ours"_s, true);
        QVERIFY(settings.synchronize());
        QCOMPARE(folder.object(),
                 (QJsonObject{{u"LastExternalIPAddress"_s, address}, {u"ours"_s, true}}));
        QCOMPARE(folder.aside(), QStringList());
        QCOMPARE(m_console.lines(), QStringList());
    }

    void aFileInPlaceOfTheFolderCostsNoValue()
    {
        const SettingsFolder folder;
        folder.write("a file");
        JsonPreferences settings(m_console, folder.file());
        settings.setValue(u"ours"_s, true);
        for (int i = 0; i < 3; ++i)
            QVERIFY(!settings.synchronize());
        QCOMPARE(settings.value(u"ours"_s), QJsonValue(true));
        QCOMPARE(folder.bytes(), "a file");
        QCOMPARE(m_console.lines().size(), 1);
    }

    void whatIsNoLockFileHoldsNothingUp_data()
    {
        struct Row {
            const char *name;
            Put put;
        };
        static const Row rows[] = {
            {.name = "a FIFO",
             .put =
                 [](const SettingsFolder &folder) {
                     QCOMPARE(mkfifo(encoded(lockOf(folder)).constData(), 0600), 0);
                 }},
            {.name = "a folder",
             .put = [](const SettingsFolder &folder) { QVERIFY(QDir().mkpath(lockOf(folder))); }},
            {.name = "a link to a device",
             .put =
                 [](const SettingsFolder &folder) {
                     QVERIFY(QFile::link(u"/dev/zero"_s, lockOf(folder)));
                 }},
            {.name = "a link to nothing",
             .put =
                 [](const SettingsFolder &folder) {
                     QVERIFY(QFile::link(u"/nonexistent"_s, lockOf(folder)));
                 }},
        };
        QTest::addColumn<Put>("put");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.put;
    }
    void whatIsNoLockFileHoldsNothingUp()
    {
        QFETCH(Put, put);
        const SettingsFolder folder;
        folder.write(R"({"n":1})");
        put(folder);
        const ino_t inode = inodeOf(lockOf(folder));
        QCOMPARE(inChild([&] { return besideNoLockFile(folder); }), "");
        QCOMPARE(inodeOf(lockOf(folder)), inode);
        QCOMPARE(folder.bytes(), R"({"n":1})");
    }

    void withoutAFolderSettingsLiveInMemory()
    {
        JsonPreferences settings(m_console, QString());
        QVERIFY(settings.synchronize());
        settings.setValue(u"ours"_s, true);
        for (int i = 0; i < 3; ++i)
            QVERIFY(!settings.synchronize());
        QCOMPARE(settings.value(u"ours"_s), QJsonValue(true));
        QCOMPARE(m_console.lines().size(), 1);
        QVERIFY(m_console.lines().constFirst().contains(u"HOME"_s));
        QVERIFY(!QFileInfo::exists(u"/settings.json"_s));
        QVERIFY(!QFileInfo::exists(u"/settings.json.lock"_s));
    }

    void aFullDiskCostsNoValue()
    {
        const SettingsFolder folder;
        QCOMPARE(inChild([&] { return onAFullDisk(folder); }), "");
        QCOMPARE(folder.names(), QStringList());
    }

    void cleanup() { m_console.takeLines(); }

private:
    static void giveToNobody(const SettingsFolder &folder)
    {
        if (geteuid() != 0)
            return;
        constexpr uid_t kNobody = Unprivileged::kNobody;
        QCOMPARE(chown(encoded(folder.path()).constData(), kNobody, kNobody), 0);
        QCOMPARE(chown(encoded(folder.file()).constData(), kNobody, kNobody), 0);
    }

    static QString lockOf(const SettingsFolder &folder) { return folder.file() + u".lock"_s; }

    QByteArray besideNoLockFile(const SettingsFolder &folder)
    {
        constexpr unsigned kStandsStill = 10; // seconds
        alarm(kStandsStill);
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"ours"_s, true);
        for (int i = 0; i < 3; ++i)
            HOLDS(!settings.synchronize());
        HOLDS(settings.value(u"ours"_s) == QJsonValue(true));
        HOLDS(m_console.lines().size() == 1);
        HOLDS(m_console.lines().constFirst().contains(lockOf(folder)));
        HOLDS(m_console.lines().constFirst().contains(u"no regular file"_s));
        return {};
    }

    QByteArray onAFullDisk(const SettingsFolder &folder)
    {
        HOLDS(mountSmallDisk(folder.path()));
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"n"_s, 1);
        HOLDS(settings.synchronize());
        const QByteArray before = folder.bytes();

        QFile filler(folder.path() + u"/filler"_s);
        HOLDS(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (filler.write(QByteArray(4096, 'x')) == 4096) { }
        settings.setValue(u"ours"_s, QString(100, u'y'));
        for (int i = 0; i < 3; ++i)
            HOLDS(!settings.synchronize());
        HOLDS(settings.value(u"ours"_s).has_value());
        HOLDS(folder.bytes() == before);
        HOLDS(m_console.lines().size() == 1);
        HOLDS(m_console.lines().constFirst().endsWith(u"(No space left on device)"_s));

        HOLDS(filler.remove());
        HOLDS(settings.synchronize());
        HOLDS(folder.object().size() == 2);
        HOLDS(folder.names() == QStringList(u"settings.json"_s));
        return {};
    }

    world::FakeConsole m_console;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::SettingsTroubleTest)
#include "SettingsTroubleTest.moc"
