// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/BusKnock.h"

#include <chrono>

using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

constexpr auto kPatience = 2s;
constexpr auto kPause = 50ms;

} // namespace

BusKnock::BusKnock(const QByteArray &addresses) : m_handshake(addresses)
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(kPatience);
    m_again.setSingleShot(true);
    m_again.setInterval(kPause);
    connect(&m_patience, &QTimer::timeout, this, &BusKnock::silent);
    connect(&m_again, &QTimer::timeout, this, &BusKnock::go);
}

void BusKnock::start()
{
    m_patience.start();
    go();
}

void BusKnock::go()
{
    switch (m_handshake.go()) {
    case BusHandshake::State::Waiting:
        listen();
        return;
    case BusHandshake::State::Queueing:
        if (m_patience.isActive()) {
            m_again.start();
            return;
        }
        [[fallthrough]];
    case BusHandshake::State::Absent:
        rest();
        Q_EMIT absent();
        return;
    case BusHandshake::State::Answers:
        rest();
        Q_EMIT answered();
        return;
    }
}

void BusKnock::listen()
{
    if (m_answer)
        return;
    m_answer = std::make_unique<QSocketNotifier>(m_handshake.descriptor(), QSocketNotifier::Read);
    connect(m_answer.get(), &QSocketNotifier::activated, this, &BusKnock::go);
}

void BusKnock::rest()
{
    m_patience.stop();
    if (m_answer)
        m_answer->setEnabled(false);
}

} // namespace quillfen::platform
