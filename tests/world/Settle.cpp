// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/Settle.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QEventLoop>
#include <QTimer>

namespace quillfen::world {

bool comesToRest(const platform::Turns &turns, std::chrono::milliseconds deadline)
{
    const QDeadlineTimer end(deadline);
    QTimer wakeUp;
    wakeUp.start(deadline);
    while (turns.busy() && !end.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return !turns.busy();
}

} // namespace quillfen::world
