// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeNames.h"

#include "platform/Later.h"

#include <QHostAddress>

#include <stdexcept>

namespace quillfen::world {

FakeNames::FakeNames() = default;

FakeNames::~FakeNames() = default;

void FakeNames::knows(const QString &name, const QStringList &addresses)
{
    m_known[name] = addresses;
}

platform::Task<platform::NameAnswer> FakeNames::addresses(QString name)
{
    if (m_broken)
        throw std::runtime_error("no memory for names");
    if (m_silent) {
        platform::Later<platform::NameAnswer> never;
        co_return co_await never;
    }
    platform::NameAnswer answer;
    if (!QHostAddress(name).isNull())
        answer.addresses = QStringList(name);
    else if (const auto known = m_known.find(name); known != m_known.end())
        answer.addresses = known->second;
    else
        answer.trouble = QStringLiteral("Name or service not known");
    co_return answer;
}

} // namespace quillfen::world
