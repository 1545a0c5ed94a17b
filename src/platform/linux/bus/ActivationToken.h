// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// Leave to bring one window to the front, as a launcher or a panel gives it on Wayland.
/// @source xdg-activation-v1 of the Wayland protocols
namespace quillfen::platform {

/// The token that this process was started with; empty if there is none.
QString ownActivationToken();

/// A token of another process's for a window of ours. While this lives it is in
/// XDG_ACTIVATION_TOKEN, where Qt looks when a window asks to come to the front; then there is none
/// any more, not for another window and not for our children.
class ActivationToken {
public:
    /// @p text is dropped if it can be no token: the environment gets it, and hands it on.
    explicit ActivationToken(const QString &text);
    ~ActivationToken();

    ActivationToken(const ActivationToken &) = delete;
    ActivationToken &operator=(const ActivationToken &) = delete;
};

} // namespace quillfen::platform
