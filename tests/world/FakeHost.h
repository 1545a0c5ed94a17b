// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Host.h"
#include "platform/Later.h"

#include <QString>

#include <map>
#include <optional>
#include <vector>

namespace quillfen::world {

/// A name service that knows what the test told it, and can fall silent; and a computer's name.
class FakeHost : public platform::Host {
public:
    FakeHost();
    ~FakeHost() override;

    /// From now on @p address has the name @p name.
    void hasName(const QString &address, const QString &name);
    /// From now on whoever asks has to wait, until answer() or giveUp().
    void keepSilent() { m_silent = true; }
    /// From now on whoever asks hears at once again; who waits goes on waiting.
    void speakAgain() { m_silent = false; }
    /// Answers all who wait for @p address: with @p name, or that there is none.
    void answer(const QString &address, const std::optional<QString> &name);
    /// The 2 s are over for all who wait: they get nothing.
    void giveUp();
    /// Whether somebody waits for the name of @p address.
    bool isAskedFor(const QString &address) const;
    void setMachineName(const std::optional<QString> &name);

    platform::Task<std::optional<QString>> name(QString address) override;
    std::optional<QString> machineName() const override;

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
