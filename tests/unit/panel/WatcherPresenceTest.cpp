// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/WatcherPresence.h"
#include "unit/desktop/PrivateBus.h"
#include "unit/panel/PanelHost.h"

#include <QDBusConnectionInterface>
#include <QObject>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

/// Whether a panel of the new kind is on the bus, as one that is not there yet, comes and goes.
class WatcherPresenceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_bus.emplace();
        m_host.emplace(m_bus->connection());
    }
    void cleanup()
    {
        m_presence.reset();
        m_host.reset();
        m_bus.reset();
    }

    void tellsOfOneThatIsThere()
    {
        m_host->appear();
        start(m_bus->connection());
        QTRY_COMPARE(told(), u"+"_s);
    }

    void tellsThatThereIsNoneAndOfEachChange()
    {
        start(m_bus->connection());
        QTRY_COMPARE(told(), u"-"_s);
        m_host->appear();
        QTRY_COMPARE(told(), u"-+"_s);
        m_host->disappear();
        QTRY_COMPARE(told(), u"-+-"_s);
        m_host->appear();
        QTRY_COMPARE(told(), u"-+-+"_s);
    }

    void oneThatTakesOverIsNoChange()
    {
        const QDBusConnection ours = m_bus->connection();
        QDBusConnection next = m_bus->connection();
        m_host->appear();
        start(ours);
        QTRY_COMPARE(told(), u"+"_s);
        next.interface()->registerService(u"org.kde.StatusNotifierWatcher"_s,
                                          QDBusConnectionInterface::QueueService);
        m_host->disappear();
        // Its answer comes behind all that the bus had told before.
        PanelHost::await(ours.interface()->asyncCall(u"GetId"_s));
        QCOMPARE(told(), u"+"_s);
        next.unregisterService(u"org.kde.StatusNotifierWatcher"_s);
        QTRY_COMPARE(told(), u"+-"_s);
    }

    void withoutABusThereIsNone()
    {
        start({});
        QCOMPARE(told(), u"-"_s);
    }

    void onAConnectionThatFailedThereIsNone()
    {
        start(QDBusConnection(u"never connected"_s));
        QCOMPARE(told(), u"-"_s);
    }

    void onABusThatEndsThereIsNone()
    {
        m_host->appear();
        start(m_bus->connection());
        QTRY_COMPARE(told(), u"+"_s);
        m_bus->stop();
        QTRY_COMPARE(told(), u"+-"_s);
    }

    void onABusThatDoesNotAnswerNothingIsTold()
    {
        const QDBusConnection connection = m_bus->connection();
        m_bus->hang();
        start(connection);
        QCoreApplication::processEvents();
        QCOMPARE(told(), QString());
        m_bus->resume();
        QTRY_COMPARE(told(), u"-"_s);
    }

private:
    void start(std::optional<QDBusConnection> bus)
    {
        m_told.clear();
        m_presence.emplace(std::move(bus));
        QObject::connect(&*m_presence, &WatcherPresence::appeared, this,
                         [this] { m_told += u'+'; });
        QObject::connect(&*m_presence, &WatcherPresence::disappeared, this,
                         [this] { m_told += u'-'; });
        m_presence->start();
    }
    QString told() const { return m_told; }

    std::optional<PrivateBus> m_bus;
    std::optional<PanelHost> m_host;
    std::optional<WatcherPresence> m_presence;
    QString m_told; ///< Each appearance and disappearance so far.
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::WatcherPresenceTest)
#include "WatcherPresenceTest.moc"
