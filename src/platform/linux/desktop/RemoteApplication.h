// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QLatin1StringView>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace quillfen::platform {

/// The object of the application @p name, "com.corvane.Quillfen", on the bus.
QString applicationPath(const QString &name);

/// The one action that the application has.
inline constexpr QLatin1StringView kQuitAction{"quit"};

/// What other processes may ask of the program on the session bus: org.freedesktop.Application.
///
/// Whoever starts the program a second time asks the first to come forward, and so may a desktop.
/// The action "quit" asks it to end.
/// A token for that in the call's data ("activation-token", else "desktop-startup-id") is in
/// XDG_ACTIVATION_TOKEN while the window is shown, which takes it to a Wayland compositor.
/// @source Desktop Entry Specification 1.5, section "D-Bus Activation".
class RemoteApplication : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    /// Serves the application @p name, "com.corvane.Quillfen", on @p bus, if there is one.
    /// @p onActivate and @p onQuit are called from the event loop each time that somebody asks.
    /// Where there is none whoever asks gets an error.
    RemoteApplication(const std::optional<QDBusConnection> &bus, const QString &name,
                      std::function<void()> onActivate, std::function<void()> onQuit = {});

    /// The bus is another from now on.
    void moveTo(const QDBusConnection &bus);

    /// Asks the running application @p name to come forward, with this process's own token.
    /// @p done is called from the event loop with whether it does: when it has answered, or
    /// after 2 s without.
    static void activate(const QDBusConnection &bus, const QString &name,
                         const std::function<void(bool)> &done);

public Q_SLOTS:
    // The interface's methods, as they are called there. There are no files to open and no
    // other actions: these come forward, too.
    void Activate(const QVariantMap &platformData);
    void Open(const QStringList &uris, const QVariantMap &platformData);
    void ActivateAction(const QString &action, const QVariantList &parameters,
                        const QVariantMap &platformData);

private:
    /// Later: whoever asks waits for the answer to the call.
    void later(const std::function<void()> &order);

    QString m_path;
    std::function<void()> m_onActivate;
    std::function<void()> m_onQuit;
};

} // namespace quillfen::platform
