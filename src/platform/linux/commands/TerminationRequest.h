// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

namespace quillfen::platform {

/// Asks the program that has a name on the bus to end in good order, and sees whether it goes.
class TerminationRequest : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        Ended, ///< It has left the bus, which is the last thing that it does.
        NobodyThere, ///< There was none of that name.
        StillThere, ///< It does not answer, refuses, or has not gone in time.
    };

    /// Asks for @p name on @p bus. @p told is called once, from the event loop, after @p patience
    /// at the latest.
    TerminationRequest(const QDBusConnection &bus, QString name, std::chrono::milliseconds patience,
                       std::function<void(Outcome)> told);

private:
    void findOwner();
    void ask(const QString &owner);
    void tell(Outcome outcome);
    Q_SLOT void ownerChanged(const QString &name, const QString &before, const QString &now);

    QDBusConnection m_bus;
    QString m_name;
    QString m_owner; ///< The unique name of whom we asked; empty before.
    std::chrono::milliseconds m_patience;
    std::function<void(Outcome)> m_told;
    QTimer m_deadline;
};

} // namespace quillfen::platform
