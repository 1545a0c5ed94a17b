// SPDX-License-Identifier: GPL-3.0-or-later
#include "netinfo/IPAddressList.h"
#include "platform/Turns.h"
#include "unit/netinfo/Death.h"
#include "world/FakeStores.h"

#include <QRegularExpression>
#include <QTest>

#include <array>
#include <cerrno>
#include <exception>
#include <functional>
#include <memory>

using namespace quillfen::netinfo;
using quillfen::platform::DynamicStore;
using quillfen::platform::RunLoopSource;
using quillfen::platform::Task;
using quillfen::platform::Turns;
using quillfen::test::Death;
using quillfen::test::deathOf;
using quillfen::world::FakeStores;
using namespace Qt::StringLiterals;

namespace {

using Call = FakeStores::Call;

Task<void> ignore(DynamicStore &, const QStringList &, void *)
{
    co_return;
}

Task<void> count(DynamicStore &, const QStringList &, void *context)
{
    ++*static_cast<int *>(context);
    co_return;
}

} // namespace

class IPAddressListTest : public QObject {
    Q_OBJECT

    /// Expects the call to abort with the message of assert() for @p expression.
    static void diesOf(const std::function<void()> &call, const char *expression)
    {
        const Death death = deathOf(call);
        QVERIFY(death.aborted);
        const QRegularExpression form(
            uR"(^\S+: \S*IPAddressList\.cpp:\d+: .+: Assertion `(.*)' failed\.\n$)"_s);
        const auto match = form.match(QString::fromUtf8(death.lastWords));
        QVERIFY2(match.hasMatch(), death.lastWords.constData());
        QCOMPARE(match.captured(1), QString::fromUtf8(expression));
    }

private Q_SLOTS:
    void listsNothingWhereNoServiceIs()
    {
        FakeStores network;
        std::unique_ptr<QStringList> list;
        QCOMPARE(CopyIPAddressListSCF(network, &list), noErr);
        QVERIFY(list != nullptr);
        QCOMPARE(*list, QStringList());
        QCOMPARE(network.connectionNames(), QStringList{u"CopyIPAddressListSCF"_s});
    }

    void listsEachServiceInTheStoresOrder()
    {
        FakeStores network;
        network.plugIn("wlan0", "198.51.100.9");
        network.plugInWithoutAddresses("tun0");
        network.plugIn("eth0", "192.0.2.7");
        network.plugIn("eth0", "192.0.2.3");
        network.plugIn("eth1", "192.0.2.7");
        std::unique_ptr<QStringList> list;
        QCOMPARE(CopyIPAddressListSCF(network, &list), noErr);
        QCOMPARE(*list,
                 (QStringList{u"198.51.100.9"_s, u"192.0.2.7"_s, u"192.0.2.3"_s, u"192.0.2.7"_s}));
    }

    void givesTheStoresErrorInsteadOfAList_data()
    {
        QTest::addColumn<Call>("call");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("status");
        QTest::newRow("no connection") << Call::Create << EMFILE << EMFILE;
        QTest::newRow("no connection, no code") << Call::Create << 0 << 1001;
        QTest::newRow("no snapshot") << Call::CopyMultiple << ENOBUFS << ENOBUFS;
        QTest::newRow("no snapshot, no code") << Call::CopyMultiple << 0 << 1001;
    }

    void givesTheStoresErrorInsteadOfAList()
    {
        QFETCH(const Call, call);
        QFETCH(const int, code);
        FakeStores network;
        network.plugIn("eth0", "192.0.2.7");
        network.failNext(call, code);
        std::unique_ptr<QStringList> list;
        QTEST(CopyIPAddressListSCF(network, &list), "status");
        QVERIFY(list == nullptr);
        QCOMPARE(CopyIPAddressListSCF(network, &list), noErr);
        QCOMPARE(*list, QStringList{u"192.0.2.7"_s});
    }

    void callsBackWithTheContextForEachChange()
    {
        FakeStores network;
        network.plugIn("eth0", "192.0.2.7");
        int calls = 0;
        std::unique_ptr<DynamicStore> store;
        std::unique_ptr<RunLoopSource> source;
        QCOMPARE(AddIPAddressListChangeCallbackSCF(network, count, &calls, &store, &source), noErr);
        QVERIFY(store != nullptr && source != nullptr);
        QCOMPARE(network.connectionNames(), QStringList{u"AddIPAddressListChangeCallbackSCF"_s});

        Turns turns([](const std::exception_ptr &) { qFatal("a turn failed"); });
        network.plugIn("eth0", "192.0.2.8");
        QCOMPARE(calls, 0); // not added to the turns yet
        source->onEachChange([](const QStringList &) {});
        source->addTo(turns);
        QCOMPARE(calls, 1);
        network.unplug("eth0");
        QCOMPARE(calls, 2);
    }

    void givesTheStoresErrorInsteadOfASubscription_data()
    {
        QTest::addColumn<Call>("call");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("status");
        struct Row {
            const char *name;
            Call call;
            int code;
            int status;
        };
        const std::array rows{
            Row{"no connection", Call::Create, EMFILE, EMFILE},
            Row{"no connection, no code", Call::Create, 0, 1001},
            Row{"no keys", Call::SetNotificationKeys, ENOMEM, ENOMEM},
            Row{"no keys, no code", Call::SetNotificationKeys, 0, 1001},
            Row{"no source", Call::CreateRunLoopSource, EINVAL, EINVAL},
            Row{"no source, no code", Call::CreateRunLoopSource, 0, 1001},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.call << row.code << row.status;
    }

    void givesTheStoresErrorInsteadOfASubscription()
    {
        QFETCH(const Call, call);
        QFETCH(const int, code);
        FakeStores network;
        network.failNext(call, code);
        std::unique_ptr<DynamicStore> store;
        std::unique_ptr<RunLoopSource> source;
        QTEST(AddIPAddressListChangeCallbackSCF(network, ignore, nullptr, &store, &source),
              "status");
        QVERIFY(store == nullptr && source == nullptr);
    }

    void appendsTheAddressesOfAnEntity_data()
    {
        QTest::addColumn<QVariantMap>("entity");
        QTest::addColumn<QStringList>("expected");
        const QString key = quillfen::platform::ipv4AddressesKey();
        QTest::newRow("two") << QVariantMap{{key, QStringList{u"b"_s, u"a"_s}}}
                             << QStringList{u"x"_s, u"b"_s, u"a"_s};
        QTest::newRow("an empty list") << QVariantMap{{key, QStringList()}} << QStringList{u"x"_s};
        QTest::newRow("no list") << QVariantMap{{u"Router"_s, u"c"_s}} << QStringList{u"x"_s};
    }

    void appendsTheAddressesOfAnEntity()
    {
        QFETCH(const QVariantMap, entity);
        const QVariant key = u"State:/Network/Service/eth0/IPv4"_s;
        const QVariant value = entity;
        QVariant list = QStringList{u"x"_s};
        AppendIPAddressesOfEntity(&key, &value, &list);
        QTEST(list.toStringList(), "expected");
    }

    void diesOfAWrongEntity_data()
    {
        QTest::addColumn<int>("wrong");
        QTest::newRow("key != NULL") << 0;
        QTest::newRow("CFGetTypeID(key) == CFStringGetTypeID()") << 1;
        QTest::newRow("value != NULL") << 2;
        QTest::newRow("CFGetTypeID(value) == CFDictionaryGetTypeID()") << 3;
        QTest::newRow("context != NULL") << 4;
        QTest::newRow("CFGetTypeID(context) == CFArrayGetTypeID()") << 5;
        QTest::newRow("CFGetTypeID(intfAddrList) == CFArrayGetTypeID()") << 6;
    }

    void diesOfAWrongEntity()
    {
        QFETCH(const int, wrong);
        const QString addresses = quillfen::platform::ipv4AddressesKey();
        const QVariant key = wrong == 1 ? QVariant(7) : QVariant(u"key"_s);
        const QVariant list = wrong == 6 ? QVariant(u"192.0.2.7"_s) : QVariant(QStringList());
        const QVariant value =
            wrong == 3 ? QVariant(u"value"_s) : QVariant(QVariantMap{{addresses, list}});
        QVariant context = wrong == 5 ? QVariant(QVariantMap()) : QVariant(QStringList());
        diesOf(
            [&] {
                AppendIPAddressesOfEntity(wrong == 0 ? nullptr : &key,
                                          wrong == 2 ? nullptr : &value,
                                          wrong == 4 ? nullptr : &context);
            },
            QTest::currentDataTag());
    }

    void diesOfAListInTheWrongPlace()
    {
        FakeStores network;
        auto full = std::make_unique<QStringList>();
        diesOf([&] { CopyIPAddressListSCF(network, nullptr); }, "addrList != NULL");
        diesOf([&] { CopyIPAddressListSCF(network, &full); }, "*addrList == NULL");
    }

    void diesOfASubscriptionInTheWrongPlace()
    {
        FakeStores network;
        std::unique_ptr<DynamicStore> store;
        std::unique_ptr<RunLoopSource> source;
        const auto add = [&network](auto callback, auto *storeRef, auto *sourceRef) {
            AddIPAddressListChangeCallbackSCF(network, callback, nullptr, storeRef, sourceRef);
        };
        const decltype(&store) nowhere = nullptr;
        const decltype(&source) noSource = nullptr;
        diesOf([&] { add(nullptr, &store, &source); }, "callback != NULL");
        diesOf([&] { add(ignore, nowhere, &source); }, "storeRef != NULL");
        diesOf([&] { add(ignore, &store, noSource); }, "sourceRef != NULL");

        auto full = network.create(u"other"_s, ignore, nullptr);
        diesOf([&] { add(ignore, &full, &source); }, "*storeRef == NULL");
        full->setNotificationKeys({quillfen::platform::ipv4OfEveryService()});
        auto fullSource = full->createRunLoopSource();
        diesOf([&] { add(ignore, &store, &fullSource); }, "*sourceRef == NULL");
    }
};

QTEST_APPLESS_MAIN(IPAddressListTest)
#include "IPAddressListTest.moc"
