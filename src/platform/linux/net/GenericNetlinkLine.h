// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/KernelLine.h"

#include <cstddef>
#include <memory>
#include <vector>

struct mnl_socket;

namespace quillfen::platform {

/// A line to those parts of the kernel that have no protocol of their own.
///
/// The kernel writes its answer within the calls that send and receive, so that it need not be
/// waited for where all is well. Those calls may be held up by a lock that a driver holds; no
/// socket option changes that.
/// @source netlink(7), NETLINK_GENERIC
class GenericNetlinkLine final : public KernelLine {
public:
    /// @returns null where the system would not open one: no such protocol, no descriptor left,
    ///          or the program is confined.
    static std::unique_ptr<KernelLine> open();

    int send(Bytes message) override;
    /// @errors ENOSPC: a datagram longer than the kernel hands out.
    Task<Datagram> receive(QDeadlineTimer deadline) override;

private:
    struct Close {
        void operator()(mnl_socket *socket) const;
    };

    explicit GenericNetlinkLine(mnl_socket *socket);

    std::unique_ptr<mnl_socket, Close> m_socket;
    std::vector<std::byte> m_room;
};

} // namespace quillfen::platform
