// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeHost.h"

#include <utility>

namespace quillfen::world {

FakeHost::FakeHost() = default;

FakeHost::~FakeHost() = default;

void FakeHost::hasName(const QString &address, const QString &name)
{
    m_names[address] = name;
}

void FakeHost::answer(const QString &address, const std::optional<QString> &name)
{
    std::vector<Question> left;
    for (const Question &question : std::exchange(m_waiting, {})) {
        if (question.address == address)
            question.give(name);
        else
            left.push_back(question);
    }
    m_waiting.insert(m_waiting.end(), left.begin(), left.end());
}

void FakeHost::giveUp()
{
    for (const Question &question : std::exchange(m_waiting, {}))
        question.give(std::nullopt);
}

bool FakeHost::isAskedFor(const QString &address) const
{
    for (const Question &question : m_waiting) {
        if (question.address == address)
            return true;
    }
    return false;
}

void FakeHost::setMachineName(const std::optional<QString> &name)
{
    m_machineName = name;
}

platform::Task<std::optional<QString>> FakeHost::name(QString address)
{
    if (!m_silent) {
        const auto known = m_names.find(address);
        if (known == m_names.end())
            co_return std::nullopt;
        co_return known->second;
    }
    platform::Later<std::optional<QString>> later;
    m_waiting.push_back({.address = address, .give = later.giver()});
    co_return co_await later;
}

std::optional<QString> FakeHost::machineName() const
{
    return m_machineName;
}

} // namespace quillfen::world
