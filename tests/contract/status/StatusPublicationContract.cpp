// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/StatusPublication.h"
#include "platform/linux/status/StatusProperties.h"
#include "platform/linux/status/StatusService.h"
#include "unit/desktop/PrivateBus.h"
#include "world/FakeStatusPublication.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QObject>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// A place where a status is published, and another program that asks there and listens.
class Place {
public:
    virtual ~Place() = default;
    virtual StatusPublication &publication() = 0;
    /// What the other program gets when it asks now.
    virtual ShownStatus asked() = 0;
    /// How often it has been told that something changed, once everything has arrived.
    virtual int heard() = 0;
};

class FakePlace : public Place {
public:
    StatusPublication &publication() override { return m_publication; }
    ShownStatus asked() override { return m_publication.asked(); }
    int heard() override
    {
        QCoreApplication::processEvents();
        return int(m_publication.heard().size());
    }

private:
    world::FakeStatusPublication m_publication;
};

/// Hears everything that is said of properties on a bus.
class Listener : public QObject {
    Q_OBJECT

public:
    explicit Listener(QDBusConnection bus)
    {
        bus.connect({}, kStatusPath, kPropertiesInterface, u"PropertiesChanged"_s, this,
                    SLOT(hear()));
    }
    int heard = 0;

private:
    Q_SLOT void hear() { ++heard; }
};

class BusPlace : public Place {
public:
    explicit BusPlace(PrivateBus &bus) : m_ours(bus.connection()), m_theirs(bus.connection()) { }
    StatusPublication &publication() override { return m_service; }
    ShownStatus asked() override
    {
        QDBusMessage call = QDBusMessage::createMethodCall(m_ours.baseService(), kStatusPath,
                                                           kPropertiesInterface, u"GetAll"_s);
        call << QString(kStatusInterface);
        const QDBusPendingReply<QVariantMap> answer = answered(m_theirs, call);
        return fromProperties(answer.value());
    }
    int heard() override
    {
        // The bus keeps its order: behind its answers there is nothing on its way any more.
        const QDBusMessage question = QDBusMessage::createMethodCall(
            u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus"_s, u"GetId"_s);
        QCoreApplication::processEvents();
        answered(m_ours, question);
        answered(m_theirs, question);
        QCoreApplication::processEvents();
        return m_listener.heard;
    }

private:
    static QDBusPendingCall answered(const QDBusConnection &bus, const QDBusMessage &call)
    {
        QDBusPendingCall answer = bus.asyncCall(call);
        [&answer] { QTRY_VERIFY(answer.isFinished()); }();
        return answer;
    }

    QDBusConnection m_ours;
    QDBusConnection m_theirs;
    Listener m_listener{m_theirs};
    StatusService m_service{m_ours};
};

ShownStatus titled(const QString &title)
{
    ShownStatus status;
    status.title = title;
    return status;
}

} // namespace

/// What a publication promises, whoever implements it.
class StatusPublicationContract : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("real");
        QTest::newRow("fake") << false;
        QTest::newRow("session bus") << true;
    }
    void init()
    {
        QFETCH_GLOBAL(bool, real);
        if (real)
            m_place = std::make_unique<BusPlace>(m_bus);
        else
            m_place = std::make_unique<FakePlace>();
    }
    void cleanup() { m_place.reset(); }

    void beginsEmpty()
    {
        QVERIFY(m_place->asked() == ShownStatus());
        QCOMPARE(m_place->heard(), 0);
    }

    void whoeverAsksIsToldWhatWasPublishedLast()
    {
        const ShownStatus full{.title = u"192.0.2.7:desk"_s,
                               .addresses = {u"192.0.2.7"_s, u"198.51.100.4"_s, u"192.0.2.7"_s},
                               .dnsName = u"quill.example"_s,
                               .computerName = u"Büro & <co>"_s,
                               .wirelessNetwork = u"?"_s,
                               .externalAddress = u"203.0.113.7"_s};
        m_place->publication().publish(titled(u"one"_s));
        m_place->publication().publish(full);
        QVERIFY(m_place->asked() == full);
        m_place->publication().publish(titled(u"two"_s));
        QVERIFY(m_place->asked() == titled(u"two"_s));
    }

    void whoeverListensIsToldOfEachChange()
    {
        for (int i = 1; i <= 3; ++i) {
            m_place->publication().publish(titled(QString::number(i)));
            QCOMPARE(m_place->heard(), i);
        }
    }

    void everyFieldsChangeIsTold_data()
    {
        QTest::addColumn<int>("field");
        const char *const names[] = {"title",    "addresses", "DNS name",
                                     "computer", "wireless",  "external address"};
        for (int field = 0; const char *name : names)
            QTest::newRow(name) << field++;
    }
    void everyFieldsChangeIsTold()
    {
        QFETCH(int, field);
        ShownStatus status;
        const QString text = u"text"_s;
        switch (field) {
        case 0:
            status.title = text;
            break;
        case 1:
            status.addresses += text;
            break;
        case 2:
            status.dnsName = text;
            break;
        case 3:
            status.computerName = text;
            break;
        case 4:
            status.wirelessNetwork = text;
            break;
        case 5:
            status.externalAddress = text;
            break;
        }
        m_place->publication().publish(status);
        QCOMPARE(m_place->heard(), 1);
        QVERIFY(m_place->asked() == status);
        m_place->publication().publish(ShownStatus());
        QCOMPARE(m_place->heard(), 2);
        QVERIFY(m_place->asked() == ShownStatus());
    }

    void theSameAgainIsNotTold()
    {
        m_place->publication().publish(titled(u"one"_s));
        QCOMPARE(m_place->heard(), 1);
        m_place->publication().publish(titled(u"one"_s));
        QCOMPARE(m_place->heard(), 1);
    }

    void whatIsPublishedTogetherIsToldTogether()
    {
        m_place->publication().publish(titled(u"one"_s));
        m_place->publication().publish(titled(u"two"_s));
        QCOMPARE(m_place->heard(), 1);
        m_place->publication().publish(titled(u"three"_s));
        m_place->publication().publish(titled(u"two"_s));
        QCOMPARE(m_place->heard(), 1);
    }

private:
    PrivateBus m_bus;
    std::unique_ptr<Place> m_place;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::StatusPublicationContract)
#include "StatusPublicationContract.moc"
