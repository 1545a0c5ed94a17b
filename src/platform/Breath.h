// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/Task.h"

#include <QTimer>

namespace quillfen::platform {

/// Lets the event loop serve all that waits, and then goes on: for work that would otherwise hold
/// the main thread for longer than a caller on the bus should feel.
inline Task<> breathe()
{
    Later<bool> next;
    const Giver<bool> give = next.giver();
    QTimer::singleShot(0, [give] { give(true); });
    co_await next;
}

} // namespace quillfen::platform
