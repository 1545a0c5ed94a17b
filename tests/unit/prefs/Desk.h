// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/Notifiers.h"
#include "platform/linux/desktop/JsonPreferences.h"
#include "prefs/PreferencesNotification.h"
#include "prefs/QuillfenPrefPane.h"
#include "prefs/WindowOrder.h"
#include "support/Console.h"
#include "support/Log.h"
#include "unit/desktop/SettingsFolder.h"
#include "unit/support/DataHome.h"
#include "world/FakeConsole.h"
#include "world/FakeHost.h"
#include "world/FakeNames.h"
#include "world/FakeNotifications.h"
#include "world/FakeSound.h"
#include "world/FakeTlsTrust.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QLineEdit>
#include <QTabWidget>
#include <QTest>
#include <QWidget>

#include <optional>
#include <utility>

namespace quillfen::prefs {

constexpr int kDeadline = 20'000; // ms

/// A desk with the preferences window on it, above a real settings file.
class Desk {
public:
    platform::SettingsFolder folder; ///< Where the settings are.
    world::FakeConsole output;
    world::FakeSounds sounds;
    world::FakeTlsTrust trust;
    QStringList localAddresses{QStringLiteral("192.0.2.7"), QStringLiteral("192.0.2.8")};
    std::optional<QString> keptExternalAddress = QStringLiteral("203.0.113.5");

    /// With @p stored as the settings file.
    explicit Desk(const QByteArray &stored = "{}")
    {
        folder.write(stored);
        preferences.synchronize();
        m_notifications.addObserver(kPreferencesChanged, kPreferencesNotificationIdentifier,
                                    [this] { ++m_changesTold; });
    }

    platform::JsonPreferences preferences{output, folder.path()};

private:
    world::FakeNotifications m_notifications;
    support::DataHome m_data;
    support::Console m_console{output};
    support::Log m_log{m_console, preferences};
    world::FakeHost m_host;
    world::FakeNames m_names;
    mail::Notifiers m_notifiers{m_log, m_console, preferences, m_host, m_names, trust};

public:
    QuillfenPrefPane pane{preferences,
                          m_notifications,
                          output,
                          m_notifiers,
                          sounds,
                          {.local = [this] { return localAddresses; },
                           .external = [this] { return keptExternalAddress; }}};

    QWidget &window() { return pane.window(); }
    template <typename Control>
    Control &control(const QString &name)
    {
        auto *found = window().findChild<Control *>(name);
        if (!found)
            qFatal("there is no %s", qPrintable(name));
        return *found;
    }
    QLineEdit &field(const QString &name) { return control<QLineEdit>(name); }
    QCheckBox &box(const QString &name) { return control<QCheckBox>(name); }

    /// Opens the window, or brings it to the front. @returns whether it came there.
    bool open()
    {
        makeKeyAndOrderFront(window());
        return QTest::qWaitForWindowActive(&window(), kDeadline);
    }
    /// Types @p text in place of what is in the field.
    void type(const QString &name, const QString &text)
    {
        QLineEdit &line = field(name);
        line.selectAll();
        QTest::keyClick(&line, Qt::Key_Delete);
        QTest::keyClicks(&line, text);
    }

    /// How often the program was told that the settings have changed, since the last call.
    int takeChangesTold()
    {
        QCoreApplication::processEvents(); // they arrive from there
        return std::exchange(m_changesTold, 0);
    }
    /// The value in the settings file.
    QJsonValue stored(const QString &key) const { return folder.object().value(key); }
    /// The activity log's lines, without their dates.
    QStringList logged() const
    {
        QStringList lines = m_data.logLines();
        for (QString &line : lines)
            line.remove(QStringLiteral("[date] "));
        return lines;
    }
    void openLog() { m_log.OpenPrivateLog(); }

private:
    int m_changesTold = 0;
};

/// Another window of the application, with the keyboard.
class OtherWindow : public QWidget {
public:
    bool open()
    {
        makeKeyAndOrderFront(*this);
        return QTest::qWaitForWindowActive(this, kDeadline);
    }
};

} // namespace quillfen::prefs
