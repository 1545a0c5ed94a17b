// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/JsonPreferences.h"
#include "unit/desktop/SettingsFolder.h"
#include "unit/support/PrivateMounts.h"
#include "world/FakeConsole.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <optional>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// As we store it, and another of the same length.
const QByteArray kOurs = "{\n    \"n\": 1\n}\n";
const QByteArray kTheirs = "{\n    \"n\": 2\n}\n";

/// A disk with a settings file at the end of a way that can be changed.
class Disk {
public:
    /// Of the usual kind, or one whose files get their times in steps of the kernel's clock,
    /// however new that kernel is.
    explicit Disk(bool inSteps)
    {
        if (inSteps && mount("steps", encoded(m_root.path()), "ramfs", 0, nullptr) != 0)
            qFatal("mount(2) refused a ramfs");
        m_mounted = inSteps;
        QDir().mkpath(folder());
    }
    ~Disk()
    {
        if (m_mounted)
            umount2(encoded(m_root.path()), MNT_DETACH);
    }
    Disk(const Disk &) = delete;
    Disk &operator=(const Disk &) = delete;

    QString above() const { return m_root.path() + u"/above"_s; }
    QString folder() const { return above() + u"/folder"_s; }
    QString file() const { return folder() + u"/settings.json"_s; }
    QString elsewhere(const QString &name) const { return m_root.path() + u'/' + name; }

    static QByteArray encoded(const QString &path) { return QFile::encodeName(path); }
    /// Makes a file at @p path, with what is missing above it.
    static void put(const QString &path, const QByteArray &bytes)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(bytes) < 0)
            qFatal("cannot write %s", qPrintable(path));
    }
    static void rename(const QString &from, const QString &to)
    {
        if (std::rename(encoded(from).constData(), encoded(to).constData()) != 0)
            qFatal("cannot rename %s", qPrintable(from));
    }
    /// Puts @p other in the place of @p path.
    static void exchange(const QString &path, const QString &other)
    {
        rename(path, path + u".old"_s);
        rename(other, path);
    }
    /// Moves what is at @p path elsewhere, and has a link lead there.
    void lead(const QString &path) const
    {
        rename(path, elsewhere(u"one"_s));
        QVERIFY(QFile::link(elsewhere(u"one"_s), path));
    }
    /// Has the link at @p path lead to @p target, in one step.
    void leadTo(const QString &target, const QString &path) const
    {
        QVERIFY(QFile::link(target, elsewhere(u"link"_s)));
        rename(elsewhere(u"link"_s), path);
    }

private:
    QTemporaryDir m_root;
    bool m_mounted = false;
};

using Deed = std::function<void(const Disk &)>;

void writeInPlace(const Disk &disk)
{
    QFile file(disk.file());
    QVERIFY(file.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    QCOMPARE(file.write(kTheirs), kTheirs.size());
}

void writeThroughAMapping(const Disk &disk)
{
    QFile file(disk.file());
    QVERIFY(file.open(QIODevice::ReadWrite));
    uchar *const bytes = file.map(0, kTheirs.size());
    QVERIFY(bytes);
    std::copy(kTheirs.cbegin(), kTheirs.cend(), bytes);
}

/// As cp -p and the like do.
void replaceKeepingTheTimes(const Disk &disk)
{
    struct stat status = {};
    QCOMPARE(stat(Disk::encoded(disk.file()).constData(), &status), 0);
    Disk::put(disk.elsewhere(u"other"_s), kTheirs);
    const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
    const QByteArray other = Disk::encoded(disk.elsewhere(u"other"_s));
    QCOMPARE(utimensat(AT_FDCWD, other.constData(), times.data(), 0), 0);
    Disk::rename(disk.elsewhere(u"other"_s), disk.file());
}

/// How many descriptors lead to a file of the name that settings have, wherever that is now.
int heldFiles()
{
    int held = 0;
    for (const QString &name : QDir(u"/proc/self/fd"_s).entryList(QDir::System | QDir::Files))
        held +=
            QFile::symLinkTarget(u"/proc/self/fd/"_s + name).contains(u"settings.json"_s) ? 1 : 0;
    return held;
}

/// While it lives, nothing can be opened.
class NothingOpens {
public:
    NothingOpens()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none = {.rlim_cur = 0, .rlim_max = m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NothingOpens() { setrlimit(RLIMIT_NOFILE, &m_before); }
    NothingOpens(const NothingOpens &) = delete;
    NothingOpens &operator=(const NothingOpens &) = delete;

private:
    rlimit m_before = {};
};

} // namespace

/// Which changes of the settings by others are seen, how soon, and what is read for it.
class SettingsSeenTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("inSteps");
        QTest::newRow("the usual disk") << false;
        QTest::newRow("a disk with times in steps") << true;
    }

    void whatOthersDoToTheFileIsSeenAtOnce_data()
    {
        struct Row {
            const char *name;
            Deed deed;
            std::optional<int> seen;
        };
        static const Row rows[] = {
            {.name = "written in place", .deed = writeInPlace, .seen = 2},
            {.name = "written through a mapping", .deed = writeThroughAMapping, .seen = 2},
            {.name = "emptied and written",
             .deed = [](const Disk &disk) { Disk::put(disk.file(), kTheirs); },
             .seen = 2},
            {.name = "replaced",
             .deed =
                 [](const Disk &disk) {
                     Disk::put(disk.elsewhere(u"other"_s), kTheirs);
                     Disk::rename(disk.elsewhere(u"other"_s), disk.file());
                 },
             .seen = 2},
            {.name = "replaced by one of the same age", .deed = replaceKeepingTheTimes, .seen = 2},
            {.name = "removed and made anew",
             .deed =
                 [](const Disk &disk) {
                     QVERIFY(QFile::remove(disk.file()));
                     Disk::put(disk.file(), kTheirs);
                 },
             .seen = 2},
            {.name = "removed",
             .deed = [](const Disk &disk) { QVERIFY(QFile::remove(disk.file())); },
             .seen = {}},
            {.name = "renamed",
             .deed = [](const Disk &disk) { Disk::rename(disk.file(), disk.file() + u".old"_s); },
             .seen = {}},
            {.name = "removed with its folder",
             .deed = [](const Disk &disk) { QVERIFY(QDir(disk.folder()).removeRecursively()); },
             .seen = {}},
        };
        QTest::addColumn<Deed>("deed");
        QTest::addColumn<std::optional<int>>("seen");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.deed << row.seen;
    }
    void whatOthersDoToTheFileIsSeenAtOnce()
    {
        QFETCH_GLOBAL(bool, inSteps);
        QFETCH(Deed, deed);
        QFETCH(std::optional<int>, seen);
        constexpr int kOften = 5; // within one step of the clock, most times
        for (int time = 0; time < kOften; ++time) {
            const Disk disk(inSteps);
            JsonPreferences settings(m_console, disk.folder());
            settings.setValue(u"n"_s, 1);
            QVERIFY(settings.synchronize());
            QVERIFY(settings.synchronize());
            deed(disk);
            QVERIFY(settings.synchronize());
            QCOMPARE(number(settings), seen);
        }
    }

    void whatOthersDoToASettledFileIsSeenAtOnce_data() { whatOthersDoToTheFileIsSeenAtOnce_data(); }
    void whatOthersDoToASettledFileIsSeenAtOnce()
    {
        QFETCH_GLOBAL(bool, inSteps);
        QFETCH(Deed, deed);
        QFETCH(std::optional<int>, seen);
        const Disk disk(inSteps);
        putSettled(disk);
        JsonPreferences settings(m_console, disk.folder());
        QVERIFY(settings.synchronize());
        QVERIFY(settings.synchronize()); // finds it at its place
        QCOMPARE(number(settings), 1);
        deed(disk);
        QVERIFY(settings.synchronize());
        QCOMPARE(number(settings), seen);
    }

    void anotherWayToTheFileIsSeenWithin50Milliseconds_data()
    {
        struct Row {
            const char *name;
            Deed before;
            Deed deed;
        };
        const Deed nothing = [](const Disk &) {};
        const Row rows[] = {
            {.name = "its folder",
             .before = nothing,
             .deed =
                 [](const Disk &disk) {
                     Disk::put(disk.elsewhere(u"two/settings.json"_s), kTheirs);
                     Disk::exchange(disk.folder(), disk.elsewhere(u"two"_s));
                 }},
            {.name = "a folder above",
             .before = nothing,
             .deed =
                 [](const Disk &disk) {
                     Disk::put(disk.elsewhere(u"two/folder/settings.json"_s), kTheirs);
                     Disk::exchange(disk.above(), disk.elsewhere(u"two"_s));
                 }},
            {.name = "a disk upon its folder",
             .before = nothing,
             .deed =
                 [](const Disk &disk) {
                     Disk::put(disk.elsewhere(u"two/settings.json"_s), kTheirs);
                     QCOMPARE(mount(Disk::encoded(disk.elsewhere(u"two"_s)).constData(),
                                    Disk::encoded(disk.folder()).constData(), nullptr, MS_BIND,
                                    nullptr),
                              0);
                 }},
            {.name = "a link on the way",
             .before = [](const Disk &disk) { disk.lead(disk.folder()); },
             .deed =
                 [](const Disk &disk) {
                     Disk::put(disk.elsewhere(u"two/settings.json"_s), kTheirs);
                     disk.leadTo(disk.elsewhere(u"two"_s), disk.folder());
                 }},
            {.name = "a link for its name",
             .before = [](const Disk &disk) { disk.lead(disk.file()); },
             .deed =
                 [](const Disk &disk) {
                     Disk::put(disk.elsewhere(u"two"_s), kTheirs);
                     disk.leadTo(disk.elsewhere(u"two"_s), disk.file());
                 }},
        };
        QTest::addColumn<Deed>("before");
        QTest::addColumn<Deed>("deed");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.before << row.deed;
    }
    void anotherWayToTheFileIsSeenWithin50Milliseconds()
    {
        QFETCH_GLOBAL(bool, inSteps);
        QFETCH(Deed, before);
        QFETCH(Deed, deed);
        const Disk disk(inSteps);
        Disk::put(disk.file(), kOurs);
        before(disk);
        settle(disk.file());
        JsonPreferences settings(m_console, disk.folder());
        QVERIFY(settings.synchronize());
        QVERIFY(settings.synchronize());
        QCOMPARE(number(settings), 1);
        deed(disk);
        QElapsedTimer since;
        since.start();
        for (bool seen = false; !seen;) {
            const bool inTime = since.nsecsElapsed() < 50'000'000;
            QVERIFY(settings.synchronize());
            seen = number(settings) == 2;
            QVERIFY2(seen || inTime, "it is still not seen");
        }
        umount2(Disk::encoded(disk.folder()).constData(), MNT_DETACH);
    }

    void whatWasStoredOrHasSettledIsNotReadAgain()
    {
        QFETCH_GLOBAL(bool, inSteps);
        const Disk disk(inSteps);
        putSettled(disk);
        JsonPreferences settings(m_console, disk.folder());
        QVERIFY(settings.synchronize());
        {
            const NothingOpens now;
            for (int time = 0; time < 3; ++time)
                QVERIFY(settings.synchronize());
            QCOMPARE(number(settings), 1);
        }
        settings.setValue(u"n"_s, 3);
        QVERIFY(settings.synchronize());
        {
            const NothingOpens now;
            for (int time = 0; time < 3; ++time)
                QVERIFY(settings.synchronize());
            QCOMPARE(number(settings), 3);
        }
        QCOMPARE(m_console.lines(), QStringList());
    }

    void oneDescriptorIsHeldAtMost()
    {
        QFETCH_GLOBAL(bool, inSteps);
        const Disk disk(inSteps);
        {
            JsonPreferences settings(m_console, disk.folder());
            for (int i = 0; i < 20; ++i) {
                settings.setValue(u"n"_s, 10 + i); // never what they write
                QVERIFY(settings.synchronize());
                QCOMPARE(heldFiles(), 1);
                Disk::put(disk.file(), kTheirs);
                QVERIFY(settings.synchronize());
                QVERIFY(heldFiles() <= 1);
            }
        }
        QCOMPARE(heldFiles(), 0);
    }

    void cleanup() { m_console.takeLines(); }

private:
    static std::optional<int> number(const JsonPreferences &settings)
    {
        const std::optional<QJsonValue> value = settings.value(u"n"_s);
        return value ? std::optional<int>(value->toInt()) : std::nullopt;
    }

    static void putSettled(const Disk &disk)
    {
        Disk::put(disk.file(), kOurs);
        settle(disk.file());
    }

    /// Waits until the file at @p path has its times from more than 50 ms ago.
    static void settle(const QString &path)
    {
        const auto file = Disk::encoded(path);
        const auto isSettled = [&file] {
            struct stat status = {};
            return stat(file.constData(), &status) == 0 && FileIdentity::of(status).isSettled();
        };
        QTRY_VERIFY(isSettled());
    }

    world::FakeConsole m_console;
};

} // namespace quillfen::platform

int main(int argc, char **argv)
{
    if (!quillfen::support::enterPrivateMounts()) {
        std::perror("This test needs a mount namespace of its own");
        return 1;
    }
    QCoreApplication application(argc, argv);
    quillfen::platform::SettingsSeenTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "SettingsSeenTest.moc"
