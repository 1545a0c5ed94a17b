// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/JsonPreferences.h"
#include "world/FakeConsole.h"
#include "world/FakePreferences.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QLockFile>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// One user's settings, and the processes that use them.
class SettingsWorld {
public:
    virtual ~SettingsWorld() = default;
    virtual std::unique_ptr<Preferences> startProcess() = 0;
    /// From now on nothing can be stored, until it can again.
    virtual void refuseWrites(bool refused) = 0;
};

class FileWorld : public SettingsWorld {
public:
    std::unique_ptr<Preferences> startProcess() override
    {
        return std::make_unique<JsonPreferences>(m_console, m_folder.path());
    }
    void refuseWrites(bool refused) override
    {
        if (!refused)
            m_lock.reset();
        else if (!m_lock.emplace(m_folder.filePath(u"settings.json.lock"_s)).tryLock())
            qFatal("cannot hold the lock");
    }

private:
    QTemporaryDir m_folder;
    world::FakeConsole m_console;
    std::optional<QLockFile> m_lock;
};

class FakeWorld : public SettingsWorld {
public:
    std::unique_ptr<Preferences> startProcess() override
    {
        return std::make_unique<world::FakePreferences>(m_disk);
    }
    void refuseWrites(bool refused) override { m_disk->refusesWrites = refused; }

private:
    std::shared_ptr<world::SettingsDisk> m_disk = std::make_shared<world::SettingsDisk>();
};

std::unique_ptr<SettingsWorld> makeWorld()
{
    QFETCH_GLOBAL(bool, real);
    if (real)
        return std::make_unique<FileWorld>();
    return std::make_unique<FakeWorld>();
}

} // namespace

/// What Preferences promises, of the real one and of the fake.
class PreferencesContract : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("real");
        QTest::newRow("file") << true;
        QTest::newRow("fake") << false;
    }

    void aValueKeepsItsType_data()
    {
        struct Row {
            const char *name;
            QJsonValue value;
        };
        static const Row rows[] = {
            {.name = "true", .value = true},
            {.name = "false", .value = false},
            {.name = "empty text", .value = u""_s},
            {.name = "text", .value = u"Zoë \"quoted\"\n🙂"_s},
            {.name = "text of a number", .value = u"587"_s},
            {.name = "zero", .value = 0},
            {.name = "negative", .value = -3},
            {.name = "wide", .value = 70000},
            {.name = "half", .value = 6.5},
            {.name = "huge", .value = 1e300},
            {.name = "list", .value = QJsonArray{1, u"two"_s, QJsonArray{true}}},
            {.name = "object", .value = QJsonObject{{u"a"_s, QJsonObject{{u"b"_s, 1}}}}},
        };
        QTest::addColumn<QJsonValue>("value");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.value;
    }
    void aValueKeepsItsType()
    {
        QFETCH(QJsonValue, value);
        const auto world = makeWorld();
        const auto writer = world->startProcess();
        writer->setValue(u"key"_s, value);
        QVERIFY(writer->synchronize());
        const auto reader = world->startProcess();
        QVERIFY(reader->synchronize());
        const std::optional<QJsonValue> read = reader->value(u"key"_s);
        QVERIFY(read.has_value());
        QCOMPARE(read->type(), value.type());
        QCOMPARE(*read, value);
        QCOMPARE(*writer->value(u"key"_s), value);
    }

    void aKeyThatNobodySetIsAbsent()
    {
        const auto world = makeWorld();
        const auto process = world->startProcess();
        QVERIFY(!process->value(u"key"_s));
        QVERIFY(process->synchronize());
        QVERIFY(!process->value(u"key"_s));
    }

    void whatIsSetIsAnsweredAtOnceAndOnlyHere()
    {
        const auto world = makeWorld();
        const auto one = world->startProcess();
        const auto other = world->startProcess();
        one->setValue(u"key"_s, 1);
        QCOMPARE(one->value(u"key"_s), QJsonValue(1));
        QVERIFY(other->synchronize());
        QVERIFY(!other->value(u"key"_s));
    }

    void othersSeeAValueWhenBothHaveSynchronized()
    {
        const auto world = makeWorld();
        const auto one = world->startProcess();
        const auto other = world->startProcess();
        for (int i = 0; i < 50; ++i) {
            one->setValue(u"key"_s, i);
            QVERIFY(one->synchronize());
            QVERIFY(other->synchronize());
            QCOMPARE(other->value(u"key"_s), QJsonValue(i));
            other->setValue(u"answer"_s, -i);
            QVERIFY(other->synchronize());
            QVERIFY(one->synchronize());
            QCOMPARE(one->value(u"answer"_s), QJsonValue(-i));
        }
    }

    void nothingIsSeenBeforeOneSynchronizes()
    {
        const auto world = makeWorld();
        const auto one = world->startProcess();
        const auto other = world->startProcess();
        one->setValue(u"key"_s, u"old"_s);
        QVERIFY(one->synchronize());
        QVERIFY(other->synchronize());
        one->setValue(u"key"_s, u"new"_s);
        QVERIFY(one->synchronize());
        QCOMPARE(other->value(u"key"_s), QJsonValue(u"old"_s));
    }

    void keysOfOthersSurvive()
    {
        const auto world = makeWorld();
        const auto one = world->startProcess();
        const auto other = world->startProcess();
        one->setValue(u"theirs"_s, QJsonArray{1, 2});
        QVERIFY(one->synchronize());
        other->setValue(u"ours"_s, true); // has not read theirs yet
        QVERIFY(other->synchronize());
        const auto later = world->startProcess();
        QVERIFY(later->synchronize());
        QCOMPARE(later->value(u"theirs"_s), QJsonValue(QJsonArray{1, 2}));
        QCOMPARE(later->value(u"ours"_s), QJsonValue(true));
        QCOMPARE(other->value(u"theirs"_s), QJsonValue(QJsonArray{1, 2}));
    }

    void theLastWriterOfAKeyWins()
    {
        const auto world = makeWorld();
        const auto one = world->startProcess();
        const auto other = world->startProcess();
        one->setValue(u"key"_s, 1);
        other->setValue(u"key"_s, 2);
        QVERIFY(one->synchronize());
        QVERIFY(other->synchronize());
        QVERIFY(one->synchronize());
        QCOMPARE(one->value(u"key"_s), QJsonValue(2));
    }

    void aGenerationEndsWithAnyChangeAndNeverComesBack()
    {
        const auto world = makeWorld();
        const auto one = world->startProcess();
        const auto other = world->startProcess();
        QSet<std::uint64_t> past;
        std::uint64_t generation = one->generation();
        const auto ends = [&] {
            past.insert(std::exchange(generation, one->generation()));
            return !past.contains(generation);
        };
        for (int i = 0; i < 10; ++i) {
            one->setValue(u"key"_s, i);
            QVERIFY2(ends(), "a value was set here");
            QVERIFY(one->synchronize());
            generation = one->generation();
            other->setValue(u"key"_s, -i - 1);
            QVERIFY(other->synchronize());
            QCOMPARE(one->generation(), generation);
            QVERIFY(one->synchronize());
            QVERIFY2(ends(), "a value was taken in");
            QCOMPARE(one->value(u"key"_s), QJsonValue(-i - 1));
        }
    }

    void aWriteThatFailsIsTriedAgain()
    {
        const auto world = makeWorld();
        const auto process = world->startProcess();
        process->setValue(u"first"_s, 1);
        QVERIFY(process->synchronize());

        world->refuseWrites(true);
        process->setValue(u"key"_s, u"kept"_s);
        QVERIFY(!process->synchronize());
        QVERIFY(!process->synchronize());
        QCOMPARE(process->value(u"key"_s), QJsonValue(u"kept"_s));
        QCOMPARE(process->value(u"first"_s), QJsonValue(1));

        world->refuseWrites(false);
        QVERIFY(process->synchronize());
        const auto other = world->startProcess();
        QVERIFY(other->synchronize());
        QCOMPARE(other->value(u"key"_s), QJsonValue(u"kept"_s));
        QCOMPARE(other->value(u"first"_s), QJsonValue(1));
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::PreferencesContract)
#include "PreferencesContract.moc"
