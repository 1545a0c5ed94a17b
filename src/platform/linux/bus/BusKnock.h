// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/bus/BusHandshake.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>

namespace quillfen::platform {

/// Asks a message bus for an answer from the event loop, and waits for it as long as it takes; that
/// costs nothing. Main thread only.
class BusKnock : public QObject {
    Q_OBJECT

public:
    /// At the bus of the D-Bus addresses @p addresses.
    explicit BusKnock(const QByteArray &addresses);

    /// Begins; a signal may come from within.
    void start();

Q_SIGNALS:
    /// The bus answers at this moment. The last signal.
    void answered();
    /// Nobody is there, hung up, or had no place for another caller in 2 s. The last signal.
    void absent();
    /// There has been no answer for 2 s; one may still come.
    void silent();

private:
    void go();
    void listen();
    void rest();

    BusHandshake m_handshake;
    std::unique_ptr<QSocketNotifier> m_answer;
    QTimer m_patience;
    QTimer m_again; ///< While the bus has no place for another caller.
};

} // namespace quillfen::platform
