// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QSslConfiguration>

namespace quillfen::platform {

/// Whom this machine trusts over TLS.
class TlsTrust {
public:
    virtual ~TlsTrust() = default;

    /// How a client encrypts that trusts this machine's authorities; all else is as Qt has it.
    ///
    /// It waits while certificates are read, which may be for ever where their file is on a dead
    /// server; who has less time destroys the task.
    virtual Task<QSslConfiguration> configuration() = 0;
};

} // namespace quillfen::platform
