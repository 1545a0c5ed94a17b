// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include "app/Identifiers.h"
#include "app/StatusMenu.h"
#include "netinfo/IPAddressList.h"
#include "netinfo/WirelessNetworkName.h"
#include "platform/DynamicStore.h"
#include "platform/Host.h"
#include "platform/Preferences.h"
#include "platform/StatusItem.h"
#include "support/Bundle.h"
#include "support/FormatText.h"
#include "support/Log.h"
#include "support/SettingsReading.h"

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::Task;
using support::formatText;

namespace {

/// The title when the list has a first element that is no text.
const QString kMissingElement = u"???"_s;

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
        noteAddresses(m_addresses);
        m_shown.computerName = m_platform.host.machineName();
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
    if (m_shown.addresses.value(0) == current) // or the title has gone ahead meanwhile
        m_shown.dnsName = name;
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
        co_await lookUpWirelessName();
    co_await refresh(false);
    showChangeIcon();
}

void AppController::showChangeIcon()
{
    if (!m_settings.displayChangedIconWhenAddressChangeDetected())
        return;
    if (m_settings.titleIconOnly()) {
        m_item->setTitle({});
        publishStatus();
    }
    m_item->setImage(kChangeImage);
}

Task<> AppController::setTitle(QString title, bool withIcon)
{
    const bool wireless = !withIcon && m_settings.includeCurrentWirelessNetworkInTitle();
    // Before anything of the title is touched: it changes once, however long this takes.
    if (wireless && !m_wirelessName)
        co_await lookUpWirelessName();
    showTitle(title, withIcon);
    if (wireless)
        m_log.LogMessage(formatText(u"Wireless network: %@", m_wirelessName));
}

Task<> AppController::lookUpWirelessName()
{
    const std::optional<QString> name =
        co_await netinfo::LookUpWirelessNetworkName(m_log, m_platform.systemReport);
    m_wirelessName = name.value_or(u"?"_s);
}

void AppController::showTitle(const QString &title, bool withIcon)
{
    m_shown.wirelessNetwork.reset();
    if (withIcon) {
        m_item->setTitle({});
        m_item->setImage(kSmallImage);
        publishStatus();
        return;
    }
    m_item->setImage(std::nullopt);
    QString composed = title;
    if (m_settings.includeMachineNameInTitle()) {
        if (const std::optional<QString> machineName = m_platform.host.machineName())
            composed = formatText(u"%@:%@", composed, *machineName);
    }
    if (m_wirelessName && m_settings.includeCurrentWirelessNetworkInTitle()) {
        composed = formatText(u"%@:%@", composed, *m_wirelessName);
        m_shown.wirelessNetwork = m_wirelessName;
    }
    m_item->setTitle(composed);
    publishStatus();
}

void AppController::watchForTitle()
{
    m_titleStore = m_platform.stores.create(u"QuillfenTitle"_s, nullptr, nullptr);
    if (m_titleStore && m_titleStore->setNotificationKeys({platform::ipv4OfEveryService()}))
        m_titleSource = m_titleStore->createRunLoopSource();
    if (m_titleSource)
        m_titleSource->onEachChange([this](const QStringList &now) { showTitleAhead(now); });

    std::unique_ptr<QStringList> addresses;
    if (netinfo::CopyIPAddressListSCF(m_platform.stores, &addresses) == netinfo::noErr)
        showTitleAhead(*addresses);
}

void AppController::showTitleAhead(const QStringList &addresses)
{
    // The mark of a change stays until the turn's own composition takes it away.
    const std::optional<QString> image = m_item->image();
    noteAddresses(addresses);
    if (addresses.isEmpty())
        showTitle(kNoAddress, false);
    else if (addresses.first().isNull())
        showTitle(kMissingElement, false);
    else
        showTitle(addresses.first(), m_settings.titleIconOnly());
    if (image == kChangeImage)
        m_item->setImage(image);
}

void AppController::noteAddresses(const QStringList &addresses)
{
    if (addresses.value(0) != m_shown.addresses.value(0))
        m_shown.dnsName.reset();
    m_shown.addresses = addresses;
}

void AppController::publishStatus()
{
    m_shown.title = m_item->title();
    m_shown.externalAddress = m_externalAddress.kept();
    m_platform.statusPublication.publish(m_shown);
}

void AppController::rememberAddress(const QString &address)
{
    m_platform.preferences.setValue(support::kLastIPAddress.key, address);
    m_platform.preferences.synchronize();
}

} // namespace quillfen::app
