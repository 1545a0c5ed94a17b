// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SessionGate.h"

#include <QMetaObject>

#include <algorithm>

namespace quillfen::mail {

void SessionGate::letIn()
{
    while (m_inside < kMostSessions && !m_queue.empty()) {
        SessionPlace *next = m_queue.front();
        m_queue.pop_front();
        next->m_inside = true;
        ++m_inside;
        QMetaObject::invokeMethod(next, &SessionPlace::entered, Qt::QueuedConnection);
    }
}

SessionPlace::SessionPlace(SessionGate &gate) : m_gate(gate)
{
    m_gate.m_queue.push_back(this);
    m_gate.letIn();
}

SessionPlace::~SessionPlace()
{
    if (m_inside)
        --m_gate.m_inside;
    else
        m_gate.m_queue.erase(std::find(m_gate.m_queue.begin(), m_gate.m_queue.end(), this));
    m_gate.letIn();
}

} // namespace quillfen::mail
