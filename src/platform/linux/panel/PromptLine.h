// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <memory>

struct DBusConnection;

namespace quillfen::platform {

/// Sends the messages of one object over the bus, in their order, and its signals at once.
///
/// The bus library hands all that it sends to a thread of its own, and waking that takes longer
/// than the sending. So a signal goes past it, from the calling thread and over the same
/// connection, through the C library beneath. It goes the long way where the short one
/// might not take it whole without waiting, and behind what may still be on the long way: an
/// answer with an older label must not come after the signal of a newer one.
/// Main thread only; never waits.
class PromptLine : public QObject {
    Q_OBJECT

public:
    explicit PromptLine(const QDBusConnection &connection);

    /// Sends @p message. Signals take the short way if their arguments are texts.
    void send(const QDBusMessage &message);

private:
    struct Unref {
        void operator()(DBusConnection *line) const;
    };

    bool sendAtOnce(const QDBusMessage &message);
    bool takesAtOnce(qsizetype size) const;
    void followTheLongWay();
    void ask();

    QDBusConnection m_connection;
    std::unique_ptr<DBusConnection, Unref> m_line; ///< The same; nothing where there is no bus.
    int m_descriptor = -1; ///< Of m_line's socket.
    qsizetype m_mostAtOnce = 0; ///< Bytes that the socket takes whole when it takes anything.
    bool m_asking = false; ///< What went the long way may still be on it.
    bool m_moreSince = false; ///< Something went that way after what is asked for.
};

} // namespace quillfen::platform
