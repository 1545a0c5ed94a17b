// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/UrlLoader.h"

#include <QByteArray>
#include <QList>

#include <optional>
#include <vector>

namespace quillfen::world {

/// A lookup service on the web. At first nobody answers there.
class FakeUrlLoader : public platform::UrlLoader {
public:
    FakeUrlLoader();
    ~FakeUrlLoader() override;

    /// From now on every request gets @p page.
    void answers(const QByteArray &page);
    /// From now on nobody answers, which is known at once.
    void refuses();
    /// From now on whoever asks has to wait, until giveUp().
    void keepsSilent();
    /// From now on the next request comes to nothing, and those after it get @p page.
    void answersTheSecondTime(const QByteArray &page);
    /// The deadline of all who wait is over: they get nothing.
    void giveUp();
    /// Everything that was asked for since the last call, oldest first.
    QList<platform::UrlRequest> takeRequests();

    platform::Task<std::optional<QByteArray>> load(platform::UrlRequest request) override;

private:
    void become(const std::optional<QByteArray> &page, bool silent);

    std::optional<QByteArray> m_page;
    bool m_silent = false;
    bool m_failNext = false;
    QList<platform::UrlRequest> m_requests;
    std::vector<platform::Giver<std::optional<QByteArray>>> m_waiting;
};

} // namespace quillfen::world
