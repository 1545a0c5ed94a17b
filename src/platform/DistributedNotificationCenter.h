// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>

namespace quillfen::platform {

/// Notifications between the processes of one user's session.
class DistributedNotificationCenter {
public:
    virtual ~DistributedNotificationCenter() = default;

    /// Calls @p callback on the main thread for each notification @p name about @p object that
    /// this or another process posts, for as long as the centre lives.
    virtual void addObserver(const QString &name, const QString &object,
                             std::function<void()> callback) = 0;
    /// Tells every observer, each exactly once, this process's own among them; where processes
    /// cannot reach each other, only those.
    virtual void post(const QString &name, const QString &object) = 0;
};

} // namespace quillfen::platform
