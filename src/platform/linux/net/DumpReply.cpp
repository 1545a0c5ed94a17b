// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/DumpReply.h"

#include <cerrno>
#include <limits>

#include <linux/netlink.h>

namespace quillfen::platform {

void DumpReply::feed(Bytes datagram, const TakeMessage &take)
{
    while (!m_complete) {
        const auto message = takeMessage(datagram);
        if (!message)
            return;
        if (message->sequence != m_sequence)
            continue;
        if (message->flags & NLM_F_DUMP_INTR)
            m_interruption = EINTR;
        if (message->type >= NLMSG_MIN_TYPE)
            take(*message);
        else if (message->type != NLMSG_NOOP)
            end(*message);
    }
}

void DumpReply::end(const NetlinkMessage &last)
{
    m_complete = true;
    // The number after the header of both NLMSG_ERROR and NLMSG_DONE is a negative errno value;
    // old kernels put a length behind NLMSG_DONE instead, which is not negative.
    const int code = valueAtFront<int>(last.payload).value_or(0);
    if (last.type == NLMSG_OVERRUN)
        m_error = ENOBUFS;
    else if (code < 0 && code != std::numeric_limits<int>::min())
        m_error = -code;
    else if (last.type != NLMSG_DONE)
        m_error = EPROTO; // neither a line nor the end of the table
}

} // namespace quillfen::platform
