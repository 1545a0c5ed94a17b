// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"
#include "platform/linux/net/NetlinkMessage.h"

#include <QDeadlineTimer>

#include <functional>
#include <memory>

namespace quillfen::platform {

/// What came of waiting for one datagram.
struct Datagram {
    Bytes bytes{}; ///< The line's own; they hold until it is next asked for one.
    int error = 0; ///< An errno value; 0 where bytes came.
};

/// A line to the kernel for questions that are awaited.
class KernelLine {
public:
    virtual ~KernelLine() = default;

    /// Sends one message. @returns an errno value; 0 on success.
    virtual int send(Bytes message) = 0;
    /// The next datagram. One that has come already is not waited for; else the event loop goes
    /// on until @p deadline.
    /// @errors ETIMEDOUT; what receiving failed with. The line is of no use after that.
    virtual Task<Datagram> receive(QDeadlineTimer deadline) = 0;
};

/// Opens a line to the kernel. @returns null when there is none to be had.
using OpenKernelLine = std::function<std::unique_ptr<KernelLine>()>;

} // namespace quillfen::platform
