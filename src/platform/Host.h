// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QString>

#include <optional>

namespace quillfen::platform {

/// Names of machines: of an address, and of this computer.
class Host {
public:
    virtual ~Host() = default;

    /// The DNS name of @p address (reverse lookup), awaited for at most 2 s.
    /// @returns nothing when there is none, when nobody answers in time, or when @p address
    ///          is not an IPv4 address in dotted-decimal text.
    virtual Task<std::optional<QString>> name(QString address) = 0;
    /// The computer's name as its owner gave it; nothing when it has none.
    virtual std::optional<QString> machineName() const = 0;
};

} // namespace quillfen::platform
