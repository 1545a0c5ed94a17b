// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/bus/BusHandshake.h"

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using quillfen::platform::BusHandshake;
using quillfen::test::require;
using State = BusHandshake::State;

/// A bus that says what it is told to. It lies in no folder, under a name that the kernel gives.
class LyingBus {
public:
    LyingBus() : m_door(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        m_place.sun_family = AF_UNIX;
        socklen_t size = sizeof m_place.sun_family;
        auto *place = reinterpret_cast<sockaddr *>(&m_place);
        require(bind(m_door, place, size) == 0 && listen(m_door, 1) == 0); // autobind, unix(7)
        size = sizeof m_place;
        require(getsockname(m_door, place, &size) == 0);
        m_nameSize = static_cast<qsizetype>(size - offsetof(sockaddr_un, sun_path)) - 1;
    }
    QByteArray address() const
    {
        return "unix:abstract=" + QByteArray(m_place.sun_path + 1, m_nameSize);
    }
    /// Lets the caller in.
    int open() const { return accept(m_door, nullptr, nullptr); }

private:
    int m_door;
    sockaddr_un m_place = {};
    qsizetype m_nameSize = 0;
};

} // namespace

/// What a bus says, in pieces: the first byte tells their size.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const LyingBus bus;
    if (size == 0)
        return 0;
    const std::size_t piece = (data[0] % 64 + std::size_t{1}) << (data[0] >> 6) * 2;
    BusHandshake handshake(bus.address());
    State state = handshake.go();
    require(state == State::Waiting);
    const int caller = bus.open();
    for (std::size_t at = 1; at < size && state == State::Waiting; at += piece) {
        const std::size_t end = std::min(at + piece, size);
        require(send(caller, data + at, end - at, MSG_NOSIGNAL) >= 0);
        state = handshake.go();
        require(state != State::Queueing);
    }
    close(caller);
    if (state == State::Waiting)
        state = handshake.go();
    require(state == State::Answers || state == State::Absent);
    require(handshake.go() == state);
    return 0;
}
