// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include "mail/Notifiers.h"
#include "mail/SSMTP.h"
#include "platform/Breath.h"
#include "platform/Preferences.h"
#include "platform/SystemConsole.h"
#include "support/Log.h"
#include "support/SettingsReading.h"

using namespace Qt::StringLiterals;

namespace quillfen::app {

platform::Task<> AppController::sendAlerts(QString current, std::optional<QString> previous,
                                           QString usingMessage)
{
    if (!m_settings.sendEmailNotifications())
        co_return;
    m_log.LogMessage(u"Sending email alerts"_s);
    const std::optional<QJsonValue> stored =
        support::storedValue(m_platform.preferences, support::kEmail.key);
    if (!stored)
        co_return;
    if (!stored->isString()) {
        m_platform.console.write(u"The setting \"Email\" is not a text: no mail is sent."_s);
        co_return;
    }
    // As they stand: a blank behind a comma belongs to the next, and two commas have one between.
    const QStringList recipients = stored->toString().split(u',');
    for (int number = 1; const QString &recipient : recipients) {
        m_notifiers.create().sendMessage(current, previous, recipient, usingMessage);
        if (number++ % mail::kMailsAtATime == 0)
            co_await platform::breathe();
    }
}

} // namespace quillfen::app
