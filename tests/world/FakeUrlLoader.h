// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/UrlLoader.h"

#include <QByteArray>
#include <QList>

#include <optional>
#include <utility>
#include <vector>

namespace quillfen::world {

/// A lookup service on the web. At first nobody answers there.
class FakeUrlLoader : public platform::UrlLoader {
public:
    /// From now on every request gets @p page.
    void answers(const QByteArray &page) { become(page, false); }
    /// From now on nobody answers, which is known at once.
    void refuses() { become(std::nullopt, false); }
    /// From now on whoever asks has to wait, until giveUp().
    void keepsSilent() { become(std::nullopt, true); }
    /// From now on the next request comes to nothing, and those after it get @p page.
    void answersTheSecondTime(const QByteArray &page)
    {
        answers(page);
        m_failNext = true;
    }
    /// The deadline of all who wait is over: they get nothing.
    void giveUp()
    {
        for (const auto &give : std::exchange(m_waiting, {}))
            give(std::nullopt);
    }
    /// Everything that was asked for since the last call, oldest first.
    QList<platform::UrlRequest> takeRequests() { return std::exchange(m_requests, {}); }

    platform::Task<std::optional<QByteArray>> load(platform::UrlRequest request) override
    {
        m_requests.append(request);
        if (std::exchange(m_failNext, false))
            co_return std::nullopt;
        if (!m_silent)
            co_return m_page;
        platform::Later<std::optional<QByteArray>> later;
        m_waiting.push_back(later.giver());
        co_return co_await later;
    }

private:
    void become(const std::optional<QByteArray> &page, bool silent)
    {
        m_page = page;
        m_silent = silent;
        m_failNext = false;
    }

    std::optional<QByteArray> m_page;
    bool m_silent = false;
    bool m_failNext = false;
    QList<platform::UrlRequest> m_requests;
    std::vector<platform::Giver<std::optional<QByteArray>>> m_waiting;
};

} // namespace quillfen::world
