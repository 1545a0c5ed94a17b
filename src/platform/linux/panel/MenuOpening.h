// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <functional>
#include <vector>

namespace quillfen::platform {

/// The opening of a menu that hosts last announced, and their calls that wait for its menu.
///
/// A host announces by asking (AboutToShow), by telling ("opened"), or by both in either order
/// and up to a second apart, as Plasma waits for the answer before it tells. Each announcement
/// that does not belong to the opening we know begins another one.
class MenuOpening : public QObject {
    Q_OBJECT

public:
    enum class Sign : std::uint8_t { AboutToShow = 1, Opened = 2 };
    /// Answers one waiting call.
    using Answer = std::function<void()>;

    MenuOpening();

    /// Takes in a sign. @returns the number of the opening that it begins, or 0 if it belongs to
    /// the one before. @p answer is called once: when that is ready, or 150 ms later at the latest.
    std::uint64_t announce(Sign sign, Answer answer);
    /// The menu of opening @p number has its titles.
    void ready(std::uint64_t number);
    /// The menu was closed: what comes now announces another opening.
    void close() { m_closed = true; }

Q_SIGNALS:
    /// The waiting calls are about to be answered.
    void answering();

private:
    bool belongs(Sign sign) const;
    void answerAll();

    std::uint64_t m_number = 0;
    std::uint8_t m_signs = 0; ///< How it was announced so far.
    bool m_answered = true;
    bool m_closed = true;
    QElapsedTimer m_since;
    std::vector<Answer> m_waiting;
    QTimer m_deadline;
};

} // namespace quillfen::platform
