// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// Leave to bring one window to the front, as a launcher or a panel gives it on Wayland.
/// @source xdg-activation-v1 of the Wayland protocols
namespace quillfen::platform {

/// The token that this process was started with, which leaves the environment; empty if there is
/// none. Launchers older than the protocol give it as DESKTOP_STARTUP_ID.
QString takeOwnActivationToken();

/// A token of another process's for a window of ours. While this lives it is in
/// XDG_ACTIVATION_TOKEN, where Qt looks when a window asks to come to the front; then there is none
/// any more, not for another window and not for our children.
class ActivationToken {
public:
    /// @p text is dropped if it can be no token: the environment gets it, and hands it on.
    explicit ActivationToken(const QString &text);
    ~ActivationToken();

    /// Whether a window has come to the front by it, or spend() was called.
    bool isSpent() const;
    /// The one in force has gone with a program that we started, for a window of that one's.
    static void spend();

    ActivationToken(const ActivationToken &) = delete;
    ActivationToken &operator=(const ActivationToken &) = delete;

private:
    bool m_given = false;
};

} // namespace quillfen::platform
