// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/NameLookup.h"

#include <QHostAddress>
#include <QString>
#include <QStringList>

#include <map>
#include <stdexcept>

namespace quillfen::world {

/// A name service that knows what the test told it, and can fall silent.
class FakeNames : public platform::NameLookup {
public:
    void knows(const QString &name, const QStringList &addresses) { m_known[name] = addresses; }
    /// From now on whoever asks waits for ever.
    void keepSilent() { m_silent = true; }
    /// From now on each question ends in an exception.
    void breakDown() { m_broken = true; }

    platform::Task<platform::NameAnswer> addresses(QString name) override
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

private:
    std::map<QString, QStringList> m_known;
    bool m_silent = false;
    bool m_broken = false;
};

} // namespace quillfen::world
