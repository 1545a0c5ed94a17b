// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/CurlUrlLoader.h"

#include "platform/Later.h"
#include "platform/Turns.h"
#include "platform/linux/web/UrlExchange.h"

#include <QTimer>

#include <exception>
#include <utility>

namespace quillfen::platform {

Task<std::optional<QByteArray>> CurlUrlLoader::load(UrlRequest request)
{
    using Body = std::optional<QByteArray>;
    Later<Body> body;
    const Giver<Body> give = body.giver();

    QTimer deadline;
    deadline.setTimerType(Qt::PreciseTimer);
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &deadline, [give] { give(std::nullopt); });
    deadline.start(request.within);

    // In this order, as the exchange lives for its flow; both end with this task.
    UrlExchange exchange(m_curl, m_names, m_trust, std::move(request));
    Turns flow([give](const std::exception_ptr &) { give(std::nullopt); });
    flow.take(exchange.run(give));
    co_return co_await body;
}

} // namespace quillfen::platform
