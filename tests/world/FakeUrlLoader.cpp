// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeUrlLoader.h"

#include <utility>

namespace quillfen::world {

FakeUrlLoader::FakeUrlLoader() = default;

FakeUrlLoader::~FakeUrlLoader() = default;

void FakeUrlLoader::answers(const QByteArray &page)
{
    become(page, false);
}

void FakeUrlLoader::refuses()
{
    become(std::nullopt, false);
}

void FakeUrlLoader::keepsSilent()
{
    become(std::nullopt, true);
}

void FakeUrlLoader::answersTheSecondTime(const QByteArray &page)
{
    answers(page);
    m_failNext = true;
}

void FakeUrlLoader::giveUp()
{
    for (const auto &give : std::exchange(m_waiting, {}))
        give(std::nullopt);
}

QList<platform::UrlRequest> FakeUrlLoader::takeRequests()
{
    return std::exchange(m_requests, {});
}

platform::Task<std::optional<QByteArray>> FakeUrlLoader::load(platform::UrlRequest request)
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

void FakeUrlLoader::become(const std::optional<QByteArray> &page, bool silent)
{
    m_page = page;
    m_silent = silent;
    m_failNext = false;
}

} // namespace quillfen::world
