// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"
#include "platform/Turns.h"
#include "prefs/WindowNotifications.h"
#include "support/Settings.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

class QCheckBox;
class QDialog;
class QLineEdit;
class QWidget;

namespace Ui {
class QuillfenPrefPane;
}

namespace quillfen::mail {
class Notifiers;
}

namespace quillfen::platform {
class DistributedNotificationCenter;
class Preferences;
class Sound;
class Sounds;
class SystemConsole;
} // namespace quillfen::platform

namespace quillfen::prefs {

/// What the program knows of addresses beside what is stored.
struct KnownAddresses {
    std::function<QStringList()> local; ///< The current address list.
    std::function<std::optional<QString>()> external; ///< The kept answer of the lookup.
};

/// The controller of the preferences window: settings into the controls and back.
///
/// The window, its controls and their names are in resources/QuillfenPrefPane.ui. It is made
/// when it is needed first and then stays. Nothing that is typed is refused or changed: each field
/// is stored as it stands, and what the program makes of it stands beside the field.
///
/// Settings go into the controls when the window becomes the key window, and out of them when it
/// is that no longer, with each click on a check box, with a test mail, and when any window of
/// the application closes. This last one alone tells the program that its settings have changed.
class QuillfenPrefPane {
public:
    /// All of them must outlive this, which is made after the application object.
    QuillfenPrefPane(platform::Preferences &preferences,
                     platform::DistributedNotificationCenter &notifications,
                     platform::SystemConsole &console, mail::Notifiers &notifiers,
                     platform::Sounds &sounds, KnownAddresses known);
    ~QuillfenPrefPane();
    QuillfenPrefPane(const QuillfenPrefPane &) = delete;
    QuillfenPrefPane &operator=(const QuillfenPrefPane &) = delete;

    /// The preferences window. The first call makes it; all that follows here needs that.
    QWidget &window();

    /// Fills the controls, asks to be told of closing windows, and loads the sounds.
    void awakeFromNib();
    /// Reads every setting into its control, without synchronising before.
    /// @throws std::out_of_range no last local address is stored, and there is no local address
    ///         to show in its place. All controls but the last external address are filled then.
    void initControls();
    /// Stores every control but the two switches for icons, which their own clicks store.
    void savePreferences();
    /// "Mail Sent.aiff"; null when it is missing.
    platform::Sound *completionSound() const { return mailSentSound.get(); }
    /// "Mail Not Sent.aiff"; null when it is missing.
    platform::Sound *incompletionSound() const { return mailNotSentSound.get(); }

    void windowDidBecomeKey();
    void windowDidResignKey();
    void windowWillClose();

    // The check boxes' actions: each stores all controls and then its own.
    void sendEmailNotificationsButtonClicked();
    void externalIPButtonClicked();
    void includeCurrentWirelessNetworkButtonClicked();
    void machineNameButtonClicked();
    void emailChangesToExternalIPAddressButtonClicked();
    void titleIconOnlyButtonClicked();
    void displayChangedIconWhenAddressChangeDetected();

    /// Stores all controls and mails a fixed text to each recipient. The sound tells whether any
    /// mail was handed to a notifier; what became of it is in the log only. With many recipients
    /// the event loop comes in between, and the sound after the last of them.
    void testEmail();

private:
    using Work = void (QuillfenPrefPane::*)();

    void loadInterface();
    void connectControls();
    /// Does @p work each time that @p name comes from @p object, or from any window.
    void observe(WindowNotifications::Name name, const QWidget *object, Work work);
    /// Does @p work; where a list is shorter than it should be, the console says so, and the
    /// window goes on with what it has.
    void attempt(Work work);

    void showText(QLineEdit &field, const support::Setting<support::Text> &setting);
    void showInterval();
    void showAuthentication();
    void showAddresses();
    void showHints();
    void storeSwitch(const QCheckBox &button, const support::Setting<bool> &setting);
    void storeClick(const QCheckBox &button, const support::Setting<bool> &setting);
    platform::Task<> sendTestMails(QStringList recipients);

    platform::Preferences &m_preferences;
    platform::DistributedNotificationCenter &m_notifications;
    platform::SystemConsole &m_console;
    mail::Notifiers &m_notifiers;
    platform::Sounds &m_sounds;
    KnownAddresses m_known;
    std::unique_ptr<platform::Sound> mailSentSound;
    std::unique_ptr<platform::Sound> mailNotSentSound;
    std::unique_ptr<Ui::QuillfenPrefPane> m_controls;
    std::unique_ptr<QDialog> m_window; ///< Null until it is needed.
    WindowNotifications m_windowNotifications; ///< Ends before the window does.
    platform::Turns m_testMails; ///< One turn for each press of the button, at once.
};

} // namespace quillfen::prefs
