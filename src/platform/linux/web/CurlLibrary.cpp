// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/CurlLibrary.h"

#include "platform/SystemConsole.h"

#include <QMetaObject>

#include <system_error>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

CurlLibrary::CurlLibrary(SystemConsole &console, QByteArray file)
    : m_console(console),
      m_file(std::move(file))
{ }

Task<const CurlFunctions *> CurlLibrary::functions()
{
    if (m_functions)
        co_return &*m_functions;
    Later<const CurlFunctions *> later;
    m_waiting.push_back(later.giver());
    if (!m_loader.joinable())
        startLoading();
    co_return co_await later;
}

void CurlLibrary::startLoading()
{
    try {
        m_loader = std::jthread([this] {
            const CurlLoading loading = loadCurl(m_file);
            const auto bring = [this, loading] { finish(loading); };
            QMetaObject::invokeMethod(&m_listener, bring, Qt::QueuedConnection);
        });
    } catch (const std::system_error &) { // no more threads for this user
        finish({.functions = {}, .trouble = u"there is no thread for it"_s});
    }
}

void CurlLibrary::finish(const CurlLoading &loading)
{
    m_loader = {}; // it has ended
    m_functions = loading.functions;
    if (!m_functions && !std::exchange(m_complained, true))
        m_console.write(u"No web pages, as libcurl cannot be loaded: %1"_s.arg(loading.trouble));
    for (const auto &give : std::exchange(m_waiting, {}))
        give(m_functions ? &*m_functions : nullptr);
}

} // namespace quillfen::platform
