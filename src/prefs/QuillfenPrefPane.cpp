// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/QuillfenPrefPane.h"

#include "mail/Notifiers.h"
#include "mail/SSMTP.h"
#include "platform/Breath.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/Sound.h"
#include "platform/SystemConsole.h"
#include "prefs/PageScroller.h"
#include "prefs/PreferencesNotification.h"
#include "support/SettingsReading.h"
#include "ui_QuillfenPrefPane.h"

#include <QAbstractButton>
#include <QDialog>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

using Name = WindowNotifications::Name;

/// The two texts that make a test mail's body the latter, as it stands; the log has it too.
constexpr auto kTestMessage = "This is a test email."_L1;
constexpr auto kTestOldAddress = "-.-.-.-"_L1;
constexpr auto kTestFormat = "If you are reading this, the test passed."_L1;

void playIfLoaded(platform::Sound *sound)
{
    if (sound)
        sound->play();
}

} // namespace

QuillfenPrefPane::QuillfenPrefPane(platform::Preferences &preferences,
                                   platform::DistributedNotificationCenter &notifications,
                                   platform::SystemConsole &console, mail::Notifiers &notifiers,
                                   platform::Sounds &sounds, KnownAddresses known)
    : m_preferences(preferences),
      m_notifications(notifications),
      m_console(console),
      m_notifiers(notifiers),
      m_sounds(sounds),
      m_known(std::move(known)),
      m_testMails([this](const std::exception_ptr &) {
          m_console.write(u"The test mails broke off before the last recipient."_s);
      })
{
    // Every window's closing saves the controls, so the first one needs them, if nobody did before.
    m_windowNotifications.addObserver(Name::WillClose, nullptr, [this] { window(); });
}

QuillfenPrefPane::~QuillfenPrefPane() = default;

QWidget &QuillfenPrefPane::window()
{
    if (!m_window) {
        loadInterface();
        awakeFromNib();
        fitToScreen(*m_window);
    }
    return *m_window;
}

void QuillfenPrefPane::awakeFromNib()
{
    attempt(&QuillfenPrefPane::initControls);
    // Both of them at closing: the controls are stored, and then filled anew.
    observe(Name::WillClose, nullptr, &QuillfenPrefPane::windowWillClose);
    observe(Name::WillClose, nullptr, &QuillfenPrefPane::windowDidBecomeKey);
    mailSentSound = m_sounds.load(u"Mail Sent.aiff"_s);
    mailNotSentSound = m_sounds.load(u"Mail Not Sent.aiff"_s);
}

void QuillfenPrefPane::observe(Name name, const QWidget *object, Work work)
{
    m_windowNotifications.addObserver(name, object, [this, work] { attempt(work); });
}

void QuillfenPrefPane::attempt(Work work)
{
    try {
        (this->*work)();
    } catch (const std::out_of_range &error) {
        m_console.write(u"The preferences window is not filled in to its end: "_s
                        + QString::fromUtf8(error.what()));
    }
}

void QuillfenPrefPane::windowDidBecomeKey()
{
    initControls();
}

void QuillfenPrefPane::windowDidResignKey()
{
    savePreferences();
}

void QuillfenPrefPane::windowWillClose()
{
    savePreferences();
    m_notifications.post(kPreferencesChanged, kPreferencesNotificationIdentifier);
}

void QuillfenPrefPane::testEmail()
{
    savePreferences();
    // As they stand: a single blank between two commas is a recipient.
    const QStringList recipients = support::readString(m_preferences, support::kEmail).split(u',');
    m_testMails.take(sendTestMails(recipients));
}

platform::Task<> QuillfenPrefPane::sendTestMails(QStringList recipients)
{
    int handedOver = 0;
    for (const QString &recipient : recipients) {
        if (recipient.isEmpty())
            continue;
        if (handedOver > 0 && handedOver % mail::kMailsAtATime == 0)
            co_await platform::breathe();
        m_notifiers.create().sendMessage(kTestMessage, kTestOldAddress, recipient, kTestFormat);
        ++handedOver;
    }
    playIfLoaded(handedOver > 0 ? completionSound() : incompletionSound());
}

} // namespace quillfen::prefs
