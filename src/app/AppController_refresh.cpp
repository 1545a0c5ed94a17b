// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include "app/Identifiers.h"
#include "app/StatusMenu.h"
#include "app/StatusTitle.h"
#include "netinfo/IPAddressList.h"
#include "platform/Host.h"
#include "platform/Preferences.h"
#include "support/Bundle.h"
#include "support/FormatText.h"
#include "support/Log.h"
#include "support/SettingsReading.h"

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::Task;
using support::formatText;

namespace {

/// Gives the row of @p menu that shows the first address's DNS name that name or the text for none.
void showNameIn(const std::shared_ptr<platform::Menu> &menu, const std::optional<QString> &name)
{
    if (menu)
        menu->setTitle(kDNSNameRow, name.value_or(kNoDNSName));
}

} // namespace

Task<> AppController::refresh(bool rebuildMenu)
{
    co_await refreshNaming(m_menu, rebuildMenu);
}

Task<> AppController::refreshNaming(std::shared_ptr<platform::Menu> menu, bool rebuildMenu)
{
    m_log.LogMessage(u"Checking internal IP"_s);
    const std::optional<QString> previous =
        support::readString(m_platform.preferences, support::kLastIPAddress);

    QString current = kNoAddress;
    std::unique_ptr<QStringList> addresses;
    if (netinfo::CopyIPAddressListSCF(m_platform.stores, &addresses) == netinfo::noErr) {
        m_addresses = *addresses;
        m_title->noteAddresses(m_addresses);
        m_title->noteComputerName();
        if (m_addresses.isEmpty()) {
            co_await noAddressFound(menu);
        } else {
            current = m_addresses.first();
            co_await refreshFirstAddress(menu, current, previous);
        }
    }

    m_log.LogMessage(formatText(u"%@ %@ refreshed. (%@)", support::bundleName(),
                                support::bundleShortVersionString(), current));
    if (rebuildMenu)
        buildMenu();
}

Task<> AppController::refreshFirstAddress(std::shared_ptr<platform::Menu> menu, QString current,
                                          std::optional<QString> previous)
{
    const std::optional<QString> name = co_await m_platform.host.name(current);
    showNameIn(menu, name);
    m_title->noteDNSName(current, name);
    m_log.LogMessage(
        formatText(u"Internal IP address:%@ (%@)", current, name.value_or(u"no name"_s)));
    m_log.LogMessage(u"Current internal IP addresses found listed below:"_s);
    for (int number = 1; const QString &address : std::as_const(m_addresses))
        m_log.LogMessage(formatText(u"[%d] %@", number++, address));

    if (current.isNull()) {
        co_await setTitle(kMissingElement, false);
        co_return;
    }
    const bool iconOnly = m_settings.titleIconOnly();
    co_await setTitle(current, iconOnly);
    if (previous) {
        m_log.LogMessage(formatText(u"Last internal IP address: %@", *previous));
        if (current.compare(*previous, Qt::CaseInsensitive) == 0)
            co_return;
    }
    rememberAddress(current);
    m_log.LogMessage(
        formatText(u"(First) Internal IP address changed from:%@ to:%@", previous, current));
    const QString text = u"Quillfen has refreshed. The IP address of machine \"%@\" has changed "
                         "from: %@ to %@"_s;
    co_await sendAlerts(current, previous, text);
}

Task<> AppController::noAddressFound(std::shared_ptr<platform::Menu> menu)
{
    m_log.LogMessage(u"No internal IP could not be found"_s);
    const QString none = kNoAddress;
    co_await setTitle(none, false);
    showNameIn(menu, std::nullopt);
    rememberAddress(kNoAddress);
}

Task<> AppController::ipAddressChanged()
{
    if (m_settings.includeCurrentWirelessNetworkInTitle())
        co_await m_title->lookUpWirelessName();
    co_await refresh(false);
    m_title->showChangeIcon();
}

Task<> AppController::setTitle(QString title, bool withIcon)
{
    return m_title->setTitle(std::move(title), withIcon);
}

void AppController::rememberAddress(const QString &address)
{
    m_platform.preferences.setValue(support::kLastIPAddress.key, address);
    m_platform.preferences.synchronize();
}

} // namespace quillfen::app
