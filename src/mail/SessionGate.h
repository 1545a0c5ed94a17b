// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <deque>

namespace quillfen::mail {

class SessionPlace;

/// Lets a few mail sessions at a time through, in the order in which they came.
///
/// Servers bound the connections that one client may have at once, some of them to three, and
/// turn each further one away: a change with many recipients would lose mails to that. It also
/// keeps the TLS handshakes, which cost the main thread milliseconds each, from coming in one go.
class SessionGate {
public:
    static constexpr int kMostSessions = 3;

    SessionGate() = default;
    SessionGate(const SessionGate &) = delete;
    SessionGate &operator=(const SessionGate &) = delete;

private:
    friend SessionPlace;

    void letIn();

    std::deque<SessionPlace *> m_queue;
    int m_inside = 0;
};

/// One session's place in the queue and then inside. Destroying it gives it up; the gate outlives
/// it.
class SessionPlace : public QObject {
    Q_OBJECT
public:
    /// Queues up.
    explicit SessionPlace(SessionGate &gate);
    ~SessionPlace() override;

Q_SIGNALS:
    /// It is this one's turn. Comes from the event loop.
    void entered();

private:
    friend SessionGate;

    SessionGate &m_gate;
    bool m_inside = false;
};

} // namespace quillfen::mail
