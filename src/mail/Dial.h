// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>

class QSocketNotifier;

namespace quillfen::mail {

/// One attempt to connect over TCP to one address.
///
/// Not left to Qt's sockets: where a server resets the connection at once, those of Qt 6.4 connect
/// again and again, thousands of times a second, until somebody stops them.
class Dial : public QObject {
    Q_OBJECT
public:
    Dial();
    ~Dial() override;

    /// Starts the attempt; the one before is given up. The end is one of the two signals, which may
    /// come before this returns. There is no deadline.
    /// @param address a numeric one, in IPv6 possibly with a zone: "fe80::1%eth0".
    void start(const QString &address, std::uint16_t port);
    /// From now on nothing comes any more.
    void giveUp();

Q_SIGNALS:
    /// @p descriptor is a connected socket that does not block; whoever hears of it owns it.
    void connected(qintptr descriptor);
    /// @p why is what the system says.
    void failed(const QString &why);

private:
    void onWritable();
    void fail(const QString &why);

    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_writable;
};

} // namespace quillfen::mail
