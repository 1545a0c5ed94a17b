// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/MenuOpening.h"

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

// Some hosts freeze until they are answered: the promised 150 ms include the way there and back.
constexpr auto kAnswerWithin = 120ms;
constexpr auto kSameOpening = 1000ms;

std::uint8_t bit(MenuOpening::Sign sign)
{
    return static_cast<std::uint8_t>(sign);
}

} // namespace

MenuOpening::MenuOpening()
{
    m_deadline.setSingleShot(true);
    m_deadline.setTimerType(Qt::PreciseTimer);
    m_deadline.setInterval(kAnswerWithin);
    QObject::connect(&m_deadline, &QTimer::timeout, this, &MenuOpening::answerAll);
}

std::uint64_t MenuOpening::announce(Sign sign, Answer answer)
{
    const bool begins = !belongs(sign);
    if (begins) {
        m_signs = 0;
        m_answered = false;
        m_closed = false;
        m_since.start();
        m_deadline.start();
        ++m_number;
    }
    m_signs = static_cast<std::uint8_t>(m_signs | bit(sign));
    if (m_answered)
        answer();
    else
        m_waiting.push_back(std::move(answer));
    return begins ? m_number : 0;
}

bool MenuOpening::belongs(Sign sign) const
{
    if (!m_answered)
        return true;
    return !m_closed && (m_signs & bit(sign)) == 0 && !m_since.hasExpired(kSameOpening.count());
}

void MenuOpening::ready(std::uint64_t number)
{
    if (number == m_number && !m_answered)
        answerAll();
}

void MenuOpening::answerAll()
{
    m_answered = true;
    m_deadline.stop();
    Q_EMIT answering();
    for (const Answer &answer : std::exchange(m_waiting, {}))
        answer();
}

} // namespace quillfen::platform
