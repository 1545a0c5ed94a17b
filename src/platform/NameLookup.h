// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QString>
#include <QStringList>

namespace quillfen::platform {

/// What came of looking up the addresses of a name.
struct NameAnswer {
    QStringList addresses; ///< As numeric texts, in the order in which to try them.
    QString trouble; ///< Why there are none, in the system's words; empty where there are some.
};

/// Addresses of machines (forward lookup).
class NameLookup {
public:
    virtual ~NameLookup() = default;

    /// The addresses of @p name, a host name in ASCII (an international one as its A-labels).
    /// An address as numeric text stands for itself.
    ///
    /// It waits as long as the system's resolver does, which is 10 s and more when name servers
    /// are dead; who has less time destroys the task.
    virtual Task<NameAnswer> addresses(QString name) = 0;
};

} // namespace quillfen::platform
