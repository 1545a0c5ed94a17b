// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeStatusPublication.h"

#include <utility>

namespace quillfen::world {

FakeStatusPublication::FakeStatusPublication() = default;

FakeStatusPublication::~FakeStatusPublication() = default;

std::vector<platform::ShownStatus> FakeStatusPublication::takeHeard()
{
    return std::exchange(m_heard, {});
}

void FakeStatusPublication::publish(const platform::ShownStatus &status)
{
    m_status = status;
    if (!std::exchange(m_tellingQueued, true))
        QMetaObject::invokeMethod(
            this, [this] { tell(); }, Qt::QueuedConnection);
}

void FakeStatusPublication::tell()
{
    m_tellingQueued = false;
    if (m_status != m_told)
        m_heard.push_back(m_status);
    m_told = m_status;
}

} // namespace quillfen::world
