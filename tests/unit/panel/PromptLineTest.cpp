// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/PromptLine.h"
#include "unit/desktop/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QSemaphore>
#include <QTest>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include <dbus/dbus.h>
#include <sys/socket.h>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

constexpr auto kPath = "/org/example/Item";
constexpr auto kInterface = "org.example.Item";
constexpr auto kPatience = 20s;
/// More than the buffers of a socket hold when each carries a thousand bytes.
constexpr int kFlood = 1000;

/// Another program on the bus, which Qt has no part in: it reads when it is asked to, and the
/// test's own thread does it.
class Stranger {
public:
    explicit Stranger(const QString &address)
        : m_line(dbus_connection_open_private(address.toLatin1().constData(), nullptr))
    {
        if (!m_line || !dbus_bus_register(m_line, nullptr))
            qFatal("no way to the bus");
        dbus_connection_set_exit_on_disconnect(m_line, false);
        dbus_bus_add_match(m_line, "type='signal',path='/org/example/Item'", nullptr);
    }
    ~Stranger()
    {
        dbus_connection_close(m_line);
        dbus_connection_unref(m_line);
    }
    Stranger(const Stranger &) = delete;
    Stranger &operator=(const Stranger &) = delete;

    /// Calls @p method of the item, whose bus name is @p service, and does not wait.
    void call(const QString &service, const char *method)
    {
        const Message message(
            dbus_message_new_method_call(service.toLatin1().constData(), kPath, kInterface, method),
            &dbus_message_unref);
        dbus_connection_send(m_line, message.get(), nullptr);
        dbus_connection_flush(m_line);
    }
    /// What the item said next, be it a signal or an answer, each text on a line; null when it says
    /// nothing for @p patience.
    QString hear(std::chrono::milliseconds patience = kPatience)
    {
        for (const QDeadlineTimer deadline(patience); !deadline.hasExpired();) {
            const Message message(dbus_connection_pop_message(m_line), &dbus_message_unref);
            if (!message)
                dbus_connection_read_write(m_line, 10);
            else if (dbus_message_has_sender(message.get(), DBUS_SERVICE_DBUS) == FALSE)
                return texts(message.get());
        }
        return {};
    }

private:
    using Message = std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)>;

    static QString texts(DBusMessage *message)
    {
        QStringList found;
        DBusMessageIter rest;
        if (!dbus_message_iter_init(message, &rest))
            return u""_s;
        do {
            const char *text = nullptr;
            if (dbus_message_iter_get_arg_type(&rest) == DBUS_TYPE_STRING)
                dbus_message_iter_get_basic(&rest, &text);
            found += QString::fromUtf8(text);
        } while (dbus_message_iter_next(&rest));
        return found.join(u'\n');
    }

    DBusConnection *m_line;
};

/// Something on the bus that is called.
class Called : public QDBusVirtualObject {
public:
    explicit Called(std::function<void(const QDBusMessage &)> run) : m_run(std::move(run)) { }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &) override
    {
        m_run(message);
        return true;
    }

private:
    std::function<void(const QDBusMessage &)> m_run;
};

/// Keeps the bus library's own thread from doing anything, as long as it lives.
class BusyLibrary {
public:
    /// @p connection: one that nobody else uses.
    explicit BusyLibrary(const QDBusConnection &connection)
        : m_line(static_cast<DBusConnection *>(connection.internalPointer()))
    {
        dbus_connection_add_filter(m_line, &BusyLibrary::stay, this, nullptr);
        QDBusMessage match =
            QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                           u"org.freedesktop.DBus"_s, u"AddMatch"_s);
        match << u"interface='org.example.Busy'"_s;
        connection.send(match);
        connection.send(
            QDBusMessage::createSignal(u"/org/example/Busy"_s, u"org.example.Busy"_s, u"Stay"_s));
        if (!m_stays.tryAcquire(1, int(std::chrono::milliseconds(kPatience).count())))
            qFatal("the bus library's thread does not listen");
    }
    ~BusyLibrary()
    {
        m_go.release();
        m_gone.acquire();
        dbus_connection_remove_filter(m_line, &BusyLibrary::stay, this);
    }
    BusyLibrary(const BusyLibrary &) = delete;
    BusyLibrary &operator=(const BusyLibrary &) = delete;

private:
    static DBusHandlerResult stay(DBusConnection * /*line*/, DBusMessage *message, void *self)
    {
        if (!dbus_message_is_signal(message, "org.example.Busy", "Stay"))
            return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
        auto *busy = static_cast<BusyLibrary *>(self);
        busy->m_stays.release();
        busy->m_go.acquire();
        busy->m_gone.release();
        return DBUS_HANDLER_RESULT_HANDLED;
    }

    DBusConnection *m_line;
    QSemaphore m_stays;
    QSemaphore m_go;
    QSemaphore m_gone;
};

QDBusMessage signal(const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createSignal(QString::fromLatin1(kPath),
                                                      QString::fromLatin1(kInterface), u"Told"_s);
    message.setArguments(arguments);
    return message;
}

/// @p number and @p size characters.
QString longText(int number, int size)
{
    return QString::number(number) + u' ' + QString(size, u'x');
}

} // namespace

/// What arrives at the other end of the bus, and in which order.
class PromptLineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_bus.emplace();
        m_connection.emplace(m_bus->connection());
        m_line.emplace(*m_connection);
        m_stranger.emplace(m_bus->address());
    }
    void cleanup()
    {
        m_stranger.reset();
        m_line.reset();
        m_connection.reset();
        m_bus.reset();
    }

    void aSignalArrivesWithItsTexts()
    {
        m_line->send(signal({u"192.0.2.7:grüße 🌍"_s, u""_s, u"255.255.255.255"_s}));
        QCOMPARE(m_stranger->hear(), u"192.0.2.7:grüße 🌍\n\n255.255.255.255"_s);
        m_line->send(signal({}));
        QCOMPARE(m_stranger->hear(), u""_s);
    }

    void aSignalDoesNotWaitForTheLibrarysThread()
    {
        const BusyLibrary busy(m_bus->connection());
        m_line->send(signal({u"192.0.2.7"_s}));
        QCOMPARE(m_stranger->hear(), u"192.0.2.7"_s);
    }

    void aSignalDoesNotOvertakeTheAnswerBeforeIt()
    {
        int number = 0;
        Called item([&](const QDBusMessage &message) {
            m_line->send(message.createReply(QString::number(++number)));
            m_line->send(signal({QString::number(++number)}));
        });
        m_connection->registerVirtualObject(QString::fromLatin1(kPath), &item);
        constexpr int kCalls = 300;
        for (int call = 0; call < kCalls; ++call)
            m_stranger->call(m_connection->baseService(), "Read");
        QTRY_COMPARE(number, 2 * kCalls);
        for (int heard = 1; heard <= number; ++heard)
            QCOMPARE(m_stranger->hear(), QString::number(heard));
    }

    void signalsAreQuickAgainWhenTheAnswerIsOut()
    {
        bool called = false;
        Called item([&](const QDBusMessage &message) {
            m_line->send(message.createReply(u"192.0.2.7"_s));
            called = true;
        });
        m_connection->registerVirtualObject(QString::fromLatin1(kPath), &item);
        m_stranger->call(m_connection->baseService(), "Read");
        QTRY_VERIFY(called);
        QCOMPARE(m_stranger->hear(), u"192.0.2.7"_s);
        QTRY_VERIFY_WITH_TIMEOUT(arrivesWithoutTheLibrary(), 20'000);
    }

    void nothingIsLeftBehindWhileTheLibraryReads()
    {
        // Calls that Qt answers by itself keep its thread reading and writing.
        for (int number = 0; number < kFlood; ++number) {
            for (int call = 0; call < 5; ++call)
                m_stranger->call(m_connection->baseService(), "Nobody");
            m_line->send(signal({longText(number, 10)}));
            QString heard;
            do
                heard = m_stranger->hear();
            while (!heard.isNull() && heard != longText(number, 10));
            QVERIFY2(!heard.isNull(), qPrintable(QString::number(number)));
            QCoreApplication::processEvents();
        }
    }

    void whatTheSocketDoesNotTakeFollowsLater_data()
    {
        QTest::addColumn<int>("buffer");
        QTest::addColumn<int>("size");
        QTest::newRow("short texts") << 0 << 500;
        QTest::newRow("long texts") << 0 << 20'000;
        QTest::newRow("a small buffer, short texts") << 1 << 10;
        QTest::newRow("a small buffer, long texts") << 1 << 20'000;
    }
    void whatTheSocketDoesNotTakeFollowsLater()
    {
        QFETCH(int, buffer);
        QFETCH(int, size);
        if (buffer != 0)
            makeBufferSmall();
        m_bus->hang();
        for (int number = 0; number < kFlood; ++number)
            m_line->send(signal({longText(number, size)})); // never waits, or it would for ever
        m_bus->resume();
        for (int number = 0; number < kFlood; ++number)
            QCOMPARE(m_stranger->hear(), longText(number, size));
    }

    void signalsOfOtherTypesTakeTheirPlace()
    {
        m_line->send(signal({u"1"_s}));
        m_line->send(signal({u"2"_s, 7}));
        m_line->send(signal({u"3"_s}));
        QCOMPARE(m_stranger->hear(), u"1"_s);
        QCOMPARE(m_stranger->hear().left(2), u"2\n"_s);
        QCOMPARE(m_stranger->hear(), u"3"_s);
    }

    void survivesTheEndOfTheBus()
    {
        m_bus->stop();
        for (int number = 0; number < kFlood; ++number) {
            m_line->send(signal({longText(number, 10)}));
            QCoreApplication::processEvents();
        }
        QTRY_VERIFY(!m_connection->isConnected());
        m_line->send(signal({u"192.0.2.7"_s}));
    }

    void aConnectionToNowhereTakesAnything()
    {
        PromptLine nowhere(
            QDBusConnection::connectToBus(u"unix:path=/nonexistent"_s, u"nowhere"_s));
        nowhere.send(signal({u"192.0.2.7"_s}));
        QDBusConnection::disconnectFromBus(u"nowhere"_s);
    }

private:
    /// Whether a signal arrives although the library's thread does nothing.
    bool arrivesWithoutTheLibrary()
    {
        bool arrived = false;
        {
            const BusyLibrary busy(m_bus->connection());
            m_line->send(signal({u"192.0.2.8"_s}));
            arrived = !m_stranger->hear(1s).isNull();
        }
        if (!arrived)
            m_stranger->hear(); // or it would be taken for the next one
        return arrived;
    }
    /// The least that the kernel allows for the socket of a new line.
    void makeBufferSmall()
    {
        int descriptor = -1;
        dbus_connection_get_socket(static_cast<DBusConnection *>(m_connection->internalPointer()),
                                   &descriptor);
        const int least = 1;
        setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &least, sizeof least);
        m_line.emplace(*m_connection);
    }

    std::optional<PrivateBus> m_bus;
    std::optional<QDBusConnection> m_connection;
    std::optional<PromptLine> m_line;
    std::optional<Stranger> m_stranger;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::PromptLineTest)
#include "PromptLineTest.moc"
