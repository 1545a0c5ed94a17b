// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Host.h"
#include "platform/Later.h"

#include <QString>

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace quillfen::world {

/// A name service that knows what the test told it, and can fall silent; and a computer's name.
class FakeHost : public platform::Host {
public:
    /// From now on @p address has the name @p name.
    void hasName(const QString &address, const QString &name) { m_names[address] = name; }
    /// From now on whoever asks has to wait, until answer() or giveUp().
    void keepSilent() { m_silent = true; }
    /// From now on whoever asks hears at once again; who waits goes on waiting.
    void speakAgain() { m_silent = false; }
    /// Answers all who wait for @p address: with @p name, or that there is none.
    void answer(const QString &address, const std::optional<QString> &name)
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
    /// The 2 s are over for all who wait: they get nothing.
    void giveUp()
    {
        for (const Question &question : std::exchange(m_waiting, {}))
            question.give(std::nullopt);
    }
    /// Whether somebody waits for the name of @p address.
    bool isAskedFor(const QString &address) const
    {
        for (const Question &question : m_waiting) {
            if (question.address == address)
                return true;
        }
        return false;
    }
    void setMachineName(const std::optional<QString> &name) { m_machineName = name; }

    platform::Task<std::optional<QString>> name(QString address) override
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
    std::optional<QString> machineName() const override { return m_machineName; }

private:
    struct Question {
        QString address;
        platform::Giver<std::optional<QString>> give;
    };

    std::map<QString, QString> m_names;
    std::vector<Question> m_waiting;
    bool m_silent = false;
    std::optional<QString> m_machineName;
};

} // namespace quillfen::world
