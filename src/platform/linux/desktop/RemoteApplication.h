// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace quillfen::platform {

/// What other processes may ask of the program on the session bus: org.freedesktop.Application.
///
/// Whoever starts the program a second time asks the first to come forward, and so may a desktop.
/// A token for that in the call's data ("activation-token") is in XDG_ACTIVATION_TOKEN while the
/// window is shown, which takes it to a Wayland compositor.
/// @source Desktop Entry Specification 1.5, section "D-Bus Activation".
class RemoteApplication : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    /// Serves the application @p name, "com.corvane.Quillfen", on @p bus, if there is one.
    /// @p onActivate is called from the event loop each time that somebody asks.
    RemoteApplication(const std::optional<QDBusConnection> &bus, const QString &name,
                      std::function<void()> onActivate);

    /// Asks the running application @p name to come forward, with this process's own token.
    /// @p done is called from the event loop when it has answered, or after 2 s without.
    static void activate(const QDBusConnection &bus, const QString &name,
                         const std::function<void()> &done);

public Q_SLOTS:
    // The interface's methods, as they are called there. There are no files to open and no
    // actions: these come forward, too.
    void Activate(const QVariantMap &platformData);
    void Open(const QStringList &uris, const QVariantMap &platformData);
    void ActivateAction(const QString &action, const QVariantList &parameters,
                        const QVariantMap &platformData);

private:
    std::function<void()> m_onActivate;
};

} // namespace quillfen::platform
