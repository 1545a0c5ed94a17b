// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/commands/TerminationRequest.h"
#include "platform/linux/desktop/RemoteApplication.h"
#include "unit/desktop/PrivateBus.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QObject>
#include <QTest>

#include <chrono>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

const QString kName = u"com.corvane.Quillfen"_s;
using Outcome = TerminationRequest::Outcome;

} // namespace

class TerminationRequestTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_bus = std::make_unique<PrivateBus>(); }

    void waitsUntilTheProgramHasLeftTheBus()
    {
        QDBusConnection theirs = m_bus->connection();
        bool asked = false;
        const RemoteApplication program(theirs, kName, {}, [&asked] { asked = true; });
        QVERIFY(theirs.registerService(kName));
        std::optional<Outcome> told;
        const TerminationRequest request(m_bus->connection(), kName, 20s,
                                         [&told](Outcome outcome) { told = outcome; });
        QTRY_VERIFY(asked);
        QVERIFY(!told);
        QVERIFY(theirs.unregisterService(kName));
        QTRY_COMPARE(told, Outcome::Ended);
    }

    void nobodyThereIsKnownAtOnce()
    {
        std::optional<Outcome> told;
        const TerminationRequest request(m_bus->connection(), kName, 20s,
                                         [&told](Outcome outcome) { told = outcome; });
        QVERIFY(!told);
        QTRY_COMPARE(told, Outcome::NobodyThere);
    }

    void aProgramThatStaysIsGivenUp()
    {
        QDBusConnection theirs = m_bus->connection();
        const RemoteApplication program(theirs, kName, {}, [] {});
        QVERIFY(theirs.registerService(kName));
        std::optional<Outcome> told;
        const TerminationRequest request(m_bus->connection(), kName, 200ms,
                                         [&told](Outcome outcome) { told = outcome; });
        QTRY_COMPARE(told, Outcome::StillThere);
    }

    void aProgramThatCannotBeAskedStays()
    {
        QDBusConnection theirs = m_bus->connection();
        QVERIFY(theirs.registerService(kName)); // with nothing behind it
        std::optional<Outcome> told;
        const TerminationRequest request(m_bus->connection(), kName, 20s,
                                         [&told](Outcome outcome) { told = outcome; });
        QTRY_COMPARE(told, Outcome::StillThere);
    }

    void aBusThatHangsIsGivenUp()
    {
        const QDBusConnection ours = m_bus->connection();
        m_bus->hang();
        int told = 0;
        Outcome last = Outcome::Ended;
        const TerminationRequest request(ours, kName, 200ms, [&](Outcome outcome) {
            ++told;
            last = outcome;
        });
        QTRY_COMPARE(told, 1);
        QCOMPARE(last, Outcome::StillThere);
        m_bus->resume(); // and the answer that comes now is too late
        const QDBusMessage question = QDBusMessage::createMethodCall(
            u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus"_s, u"GetId"_s);
        const QDBusPendingCall answer = ours.asyncCall(question);
        QTRY_VERIFY(answer.isFinished());
        QCoreApplication::processEvents();
        QCOMPARE(told, 1);
    }

private:
    std::unique_ptr<PrivateBus> m_bus;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::TerminationRequestTest)
#include "TerminationRequestTest.moc"
