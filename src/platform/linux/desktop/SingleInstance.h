// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace quillfen::platform {

/// The name on the session bus that only one process can own.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        Owner, ///< We are the first; the name is ours until the process ends.
        AlreadyRunning, ///< Another process owns it.
        NoBus, ///< Nobody can tell: no bus, or no answer from it within 2 s.
    };

    /// Asks @p bus, if any, for @p name and waits for nothing: @p told is called once, on the
    /// main thread, from the event loop; never when this is destroyed before, which it must not
    /// be from inside that call.
    SingleInstance(std::optional<QDBusConnection> bus, const QString &name,
                   std::function<void(Outcome)> told);

    /// The bus is another from now on. Nobody is told whether the name there is ours.
    void moveTo(const QDBusConnection &bus) const;

private:
    QString m_name;
    std::optional<QDBusPendingCallWatcher> m_answer; ///< Of the bus, once it comes.
};

} // namespace quillfen::platform
