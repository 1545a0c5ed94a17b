// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusPublication.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>

namespace quillfen::platform {

/// What another process, the running program, shows: now, and from now on.
///
/// It only listens and asks the program itself. Nobody is started by being asked. Main thread
/// only.
class StatusWatch : public QObject {
    Q_OBJECT

public:
    /// At the program that has @p name on @p bus; its first answer has to come within @p patience.
    StatusWatch(const QDBusConnection &bus, QString name, std::chrono::milliseconds patience);
    ~StatusWatch() override;

    /// Begins; no signal comes from within.
    void start();

Q_SIGNALS:
    /// Once at first, and again after each change.
    void shown(const quillfen::platform::ShownStatus &status);
    /// There is none of that name on the bus, or not any more. The last signal.
    void absent();
    /// It has not told anything in time, or that it cannot. The last signal.
    void silent();
    /// It has left the bus, or the bus is gone. The last signal.
    void ended();

private:
    void giveUp();
    void takeOwner(const QString &owner);
    void ask();
    void takeAnswer(const QDBusMessage &answer);
    void end();
    Q_SLOT void ownerChanged(const QString &name, const QString &before, const QString &now);
    Q_SLOT void propertiesChanged(const QDBusMessage &signal);
    Q_SLOT void busEnded();

    QDBusConnection m_bus;
    QString m_name;
    QString m_owner; ///< The unique name; empty until it is known, and after the end.
    QTimer m_deadline; ///< Of the first answer.
    bool m_answered = false;
    bool m_asking = false;
    bool m_askAgain = false; ///< Something changed while an answer was on its way.
};

} // namespace quillfen::platform
