// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/NetlinkMessage.h"

#include <cstdint>
#include <functional>

namespace quillfen::platform {

/// Called for each message of an answer.
using TakeMessage = std::function<void(const NetlinkMessage &)>;

/// The answer to one dump request: a series of messages in any number of datagrams.
///
/// Feed it datagrams until it is complete. It is fed on even when the kernel says that the
/// table changed meanwhile: an answer left half unread would be taken for that to the next
/// question.
class DumpReply {
public:
    /// @param sequence  the request's number; messages with any other are passed over.
    explicit DumpReply(std::uint32_t sequence) : m_sequence(sequence) { }

    /// Takes in one datagram and hands its messages to @p take.
    void feed(Bytes datagram, const TakeMessage &take);
    bool complete() const { return m_complete; }
    /// An errno value, final once complete(): 0; EINTR if the table changed while it was read,
    /// so that lines may be missing or double; or why the kernel could not answer.
    /// @source NLM_F_DUMP_INTR, NLMSG_ERROR, NLMSG_DONE, NLMSG_OVERRUN: netlink(7)
    int error() const { return m_error != 0 ? m_error : m_interruption; }

private:
    void end(const NetlinkMessage &last);

    std::uint32_t m_sequence;
    int m_error = 0;
    int m_interruption = 0;
    bool m_complete = false;
};

} // namespace quillfen::platform
