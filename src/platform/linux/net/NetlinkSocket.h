// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/DumpReply.h"

#include <cstdint>
#include <memory>
#include <optional>

struct mnl_socket;
struct nlmsghdr;

namespace quillfen::platform {

/// A line to the kernel, for questions or for events: use two, so that neither disturbs the
/// other. It never waits, but for up to kAnswerTime in a dump.
class NetlinkSocket {
public:
    /// Opens a line of @p protocol (NETLINK_ROUTE, …). @returns nothing on failure; errno tells.
    static std::optional<NetlinkSocket> open(int protocol);

    /// Hears the events of the multicast @p group from now on.
    /// @returns false on failure; errno tells.
    bool join(unsigned group);
    /// For waiting until something has come. Ours: do not close it.
    int descriptor() const;
    /// Whether an event has come that drain() has not thrown away.
    bool pending() const;
    /// Throws away all that has come, and with it the mark that the kernel had to drop events.
    /// @returns whether there was anything.
    bool drain();

    /// Asks for a table and hands each of its lines to @p take. The request gets its flags
    /// and number here.
    /// @returns as DumpReply::error(); also what sending or receiving failed with, and ETIMEDOUT
    ///          when the kernel kept silent for kAnswerTime. Other than after 0 and EINTR, part
    ///          of the answer may still be on its way: open another line for the next question.
    int dump(nlmsghdr &request, const TakeMessage &take);

private:
    struct Close {
        void operator()(mnl_socket *socket) const;
    };

    explicit NetlinkSocket(mnl_socket *socket) : m_socket(socket) { }
    bool awaitAnswer() const;

    std::unique_ptr<mnl_socket, Close> m_socket;
    std::uint32_t m_sequence = 0;
};

} // namespace quillfen::platform
