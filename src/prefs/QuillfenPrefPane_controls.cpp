// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/QuillfenPrefPane.h"

#include "platform/Preferences.h"
#include "prefs/FieldHints.h"
#include "prefs/WindowLook.h"
#include "support/Bundle.h"
#include "support/FormatText.h"
#include "support/SettingsReading.h"
#include "ui_QuillfenPrefPane.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QJsonValue>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>

#include <array>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

using Controls = Ui::QuillfenPrefPane;
using Pane = QuillfenPrefPane;

/// A check box and the setting that it shows.
struct Switch {
    QCheckBox *Controls::*button;
    support::Setting<bool> setting;
};

/// All of them. What is shown and what is stored are two lists: the icons' switches are stored
/// by their own clicks only.
constexpr std::array kShownSwitches{
    Switch{&Controls::m_titleIconOnlyButton, support::kTitleIconOnly},
    Switch{&Controls::m_displayChangedIconWhenAddressChangeDetectedButton,
           support::kDisplayChangedIconWhenAddressChangeDetected},
    Switch{&Controls::m_sendEmailNotificationsButton, support::kSendEmailNotifications},
    Switch{&Controls::m_includeExternalIPButton, support::kIncludeExternalIP},
    Switch{&Controls::m_includeCurrentWirelessNetworkButton,
           support::kIncludeCurrentWirelessNetwork},
    Switch{&Controls::m_includeMachineNameButton, support::kIncludeMachineName},
    Switch{&Controls::m_emailChangesToExternalIPAddressButton,
           support::kEmailChangesToExternalIPAddress},
};
constexpr std::array kStoredSwitches{
    Switch{&Controls::m_sendEmailNotificationsButton, support::kSendEmailNotifications},
    Switch{&Controls::m_includeExternalIPButton, support::kIncludeExternalIP},
    Switch{&Controls::m_includeMachineNameButton, support::kIncludeMachineName},
    Switch{&Controls::m_includeCurrentWirelessNetworkButton,
           support::kIncludeCurrentWirelessNetwork},
    Switch{&Controls::m_emailChangesToExternalIPAddressButton,
           support::kEmailChangesToExternalIPAddress},
};

/// What a click on a check box does.
struct Click {
    QCheckBox *Controls::*button;
    void (Pane::*action)();
};

constexpr std::array kClicks{
    Click{&Controls::m_sendEmailNotificationsButton, &Pane::sendEmailNotificationsButtonClicked},
    Click{&Controls::m_includeExternalIPButton, &Pane::externalIPButtonClicked},
    Click{&Controls::m_includeCurrentWirelessNetworkButton,
          &Pane::includeCurrentWirelessNetworkButtonClicked},
    Click{&Controls::m_includeMachineNameButton, &Pane::machineNameButtonClicked},
    Click{&Controls::m_emailChangesToExternalIPAddressButton,
          &Pane::emailChangesToExternalIPAddressButtonClicked},
    Click{&Controls::m_titleIconOnlyButton, &Pane::titleIconOnlyButtonClicked},
    Click{&Controls::m_displayChangedIconWhenAddressChangeDetectedButton,
          &Pane::displayChangedIconWhenAddressChangeDetected},
};

constexpr auto kShownPort = "587"_L1; // while none is stored

/// A text that stands there already keeps its cursor, its selection and what can be undone.
void show(QLineEdit &field, const QString &text)
{
    if (field.text() != text)
        field.setText(text);
}

/// What is shown is not the user's doing.
void show(QCheckBox &button, bool ticked)
{
    const QSignalBlocker quiet(button);
    button.setChecked(ticked);
}

/// Has a screen reader say @p hint with @p control, behind the tip that it says anyway.
void describe(QWidget &control, const QString &hint)
{
    control.setAccessibleDescription(control.toolTip() + u' ' + hint);
}

/// The hints that always say the same.
void describeByHints(const Controls &controls)
{
    const std::initializer_list<std::pair<QWidget *, const QLabel *>> hints{
        {controls.m_titleIconOnlyButton, controls.titleHint},
        {controls.m_emailChangesToExternalIPAddressButton, controls.serviceHint},
        {controls.m_emailAddress, controls.recipientsHint},
        {controls.m_mailServer, controls.serverHint},
        {controls.m_password, controls.passwordHint},
        {controls.m_testButton, controls.testHint},
    };
    for (const auto &[control, hint] : hints)
        describe(*control, hint->text());
}

/// Shows a hint beside its field.
void show(QLabel &hint, QLineEdit &field, const QString &text)
{
    hint.setText(text);
    describe(field, text);
}

/// The number in 16 bits; nothing where these do not hold exactly it.
std::optional<std::int16_t> exactly(double number)
{
    using Limits = std::numeric_limits<std::int16_t>;
    if (number < Limits::min() || number > Limits::max() || number != std::trunc(number))
        return std::nullopt;
    return static_cast<std::int16_t>(number);
}

std::optional<QString> storedText(const platform::Preferences &preferences, QLatin1StringView key)
{
    const std::optional<QJsonValue> value = support::storedValue(preferences, key);
    return value && value->isString() ? std::optional(value->toString()) : std::nullopt;
}

QString firstOf(const QStringList &addresses)
{
    if (addresses.isEmpty())
        throw std::out_of_range("there is no local address");
    return addresses.first();
}

} // namespace

void QuillfenPrefPane::loadInterface()
{
    m_window = std::make_unique<QDialog>();
    m_controls = std::make_unique<Controls>();
    m_controls->setupUi(m_window.get());
    fitToTheme(*m_window);
    describeByHints(*m_controls);
    connectControls();
    observe(WindowNotifications::Name::DidBecomeKey, m_window.get(), &Pane::windowDidBecomeKey);
    observe(WindowNotifications::Name::DidResignKey, m_window.get(), &Pane::windowDidResignKey);
}

void QuillfenPrefPane::connectControls()
{
    for (const Click &click : kClicks) {
        // Not clicked(): a screen reader that ticks a box toggles it without a click.
        QObject::connect((*m_controls).*click.button, &QCheckBox::toggled, m_window.get(),
                         [this, action = click.action] { (this->*action)(); });
    }
    QObject::connect(m_controls->m_testButton, &QPushButton::clicked, m_window.get(),
                     [this] { testEmail(); });
    QObject::connect(m_controls->m_closeButton, &QPushButton::clicked, m_window.get(),
                     &QDialog::reject);
    for (QLineEdit *field : {m_controls->m_minutesIntervalTextField, m_controls->m_port})
        QObject::connect(field, &QLineEdit::textChanged, m_window.get(), [this] { showHints(); });
}

void QuillfenPrefPane::initControls()
{
    m_controls->m_versionInfoField->setText(
        support::formatText(u"%@ %@", support::bundleName(), support::bundleShortVersionString()));
    for (const Switch &one : kShownSwitches)
        show(*((*m_controls).*one.button), support::readBoolean(m_preferences, one.setting));
    showInterval();
    showText(*m_controls->m_mailServer, support::kMailServer);
    show(*m_controls->m_port,
         support::readString(m_preferences, support::kPort).value_or(kShownPort));
    showAuthentication();
    showText(*m_controls->m_username, support::kUsername);
    showText(*m_controls->m_password, support::kUserPassword);
    showText(*m_controls->m_emailAddress, support::kEmail);
    showHints();
    showAddresses();
}

void QuillfenPrefPane::showText(QLineEdit &field, const support::Setting<support::Text> &setting)
{
    show(field, support::readString(m_preferences, setting));
}

void QuillfenPrefPane::showInterval()
{
    const std::optional<QJsonValue> stored =
        support::storedValue(m_preferences, support::kMinutesInterval.key);
    const std::optional<std::int16_t> minutes = stored && stored->isDouble()
        ? exactly(stored->toDouble())
        : support::kMinutesInterval.fallback;
    if (minutes)
        show(*m_controls->m_minutesIntervalTextField, QString::number(*minutes));
}

void QuillfenPrefPane::showAuthentication()
{
    const std::optional<QJsonValue> stored =
        support::storedValue(m_preferences, support::kAuthentication.key);
    if (!stored || !stored->isDouble())
        return;
    QComboBox &popUp = *m_controls->m_authentication;
    const std::int64_t index = support::integerValue(*stored);
    popUp.setCurrentIndex(index >= 0 && index < popUp.count() ? static_cast<int>(index) : -1);
}

void QuillfenPrefPane::showAddresses()
{
    const auto local = storedText(m_preferences, support::kLastIPAddress.key);
    show(*m_controls->m_lastIPAddress, local ? *local : firstOf(m_known.local()));
    const auto external = storedText(m_preferences, support::kLastExternalIPAddress.key);
    show(*m_controls->m_lastExternalIPAddress,
         external ? *external : m_known.external().value_or(u""_s));
}

void QuillfenPrefPane::showHints()
{
    QLineEdit &interval = *m_controls->m_minutesIntervalTextField;
    show(*m_controls->m_intervalHint, interval, intervalHint(interval.text()));
    QLineEdit &port = *m_controls->m_port;
    const bool overTls = support::readUserDefaultBoolean(m_preferences, support::kUseSSL);
    show(*m_controls->m_portHint, port, portHint(port.text(), overTls));
}

void QuillfenPrefPane::savePreferences()
{
    m_preferences.setValue(support::kMailServer.key, m_controls->m_mailServer->text());
    m_preferences.setValue(support::kPort.key, m_controls->m_port->text());
    m_preferences.setValue(support::kAuthentication.key,
                           m_controls->m_authentication->currentIndex());
    m_preferences.setValue(support::kUsername.key, m_controls->m_username->text());
    m_preferences.setValue(support::kUserPassword.key, m_controls->m_password->text());
    m_preferences.setValue(support::kEmail.key, m_controls->m_emailAddress->text());
    for (const Switch &one : kStoredSwitches)
        storeSwitch(*((*m_controls).*one.button), one.setting);
    m_preferences.setValue(support::kMinutesInterval.key,
                           support::sixteenBits(m_controls->m_minutesIntervalTextField->text()));
    m_preferences.synchronize();
}

void QuillfenPrefPane::storeSwitch(const QCheckBox &button, const support::Setting<bool> &setting)
{
    m_preferences.setValue(setting.key, button.isChecked());
}

void QuillfenPrefPane::storeClick(const QCheckBox &button, const support::Setting<bool> &setting)
{
    savePreferences();
    storeSwitch(button, setting);
    m_preferences.synchronize();
}

void QuillfenPrefPane::sendEmailNotificationsButtonClicked()
{
    storeClick(*m_controls->m_sendEmailNotificationsButton, support::kSendEmailNotifications);
}

void QuillfenPrefPane::externalIPButtonClicked()
{
    storeClick(*m_controls->m_includeExternalIPButton, support::kIncludeExternalIP);
}

void QuillfenPrefPane::includeCurrentWirelessNetworkButtonClicked()
{
    storeClick(*m_controls->m_includeCurrentWirelessNetworkButton,
               support::kIncludeCurrentWirelessNetwork);
}

void QuillfenPrefPane::machineNameButtonClicked()
{
    storeClick(*m_controls->m_includeMachineNameButton, support::kIncludeMachineName);
}

void QuillfenPrefPane::emailChangesToExternalIPAddressButtonClicked()
{
    storeClick(*m_controls->m_emailChangesToExternalIPAddressButton,
               support::kEmailChangesToExternalIPAddress);
}

void QuillfenPrefPane::titleIconOnlyButtonClicked()
{
    storeClick(*m_controls->m_titleIconOnlyButton, support::kTitleIconOnly);
}

void QuillfenPrefPane::displayChangedIconWhenAddressChangeDetected()
{
    storeClick(*m_controls->m_displayChangedIconWhenAddressChangeDetectedButton,
               support::kDisplayChangedIconWhenAddressChangeDetected);
}

} // namespace quillfen::prefs
