// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/NetlinkSocket.h"
#include "platform/linux/net/ServiceOrder.h"

#include <optional>
#include <vector>

namespace quillfen::platform {

/// Asks the kernel for the services as they are now. Answers at once; keeps its line open.
class ServiceQuestion {
public:
    /// Opens the line, if it is not open. @returns an errno value; 0 on success.
    int open();
    /// Asks once. @p services is replaced on success and on EINTR, else untouched.
    /// @returns an errno value: 0; EINTR when the network changed during the answer, so that
    ///          services may be missing, stale or double; what NetlinkSocket::dump() gives.
    int ask(std::vector<Service> &services);
    /// Asks until the answer is of one piece, but at most kTries times; the last answer counts
    /// even if the network changed during it: an event of that change is then on its way.
    /// @returns an errno value, never EINTR.
    int askPersistently(std::vector<Service> &services);

private:
    int readTables(NetworkTables &tables);

    static constexpr int kTries = 4;
    std::optional<NetlinkSocket> m_line;
};

} // namespace quillfen::platform
