// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include "app/Identifiers.h"
#include "app/StatusMenu.h"
#include "netinfo/IPAddressList.h"
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

} // namespace

Task<> AppController::refresh(bool rebuildMenu)
{
    m_log.LogMessage(u"Checking internal IP"_s);
    const std::optional<QString> previous =
        support::readString(m_platform.preferences, support::kLastIPAddress);

    QString current = kNoAddress;
    std::unique_ptr<QStringList> addresses;
    if (netinfo::CopyIPAddressListSCF(m_platform.stores, &addresses) == netinfo::noErr) {
        m_addresses = *addresses;
        if (m_addresses.isEmpty()) {
            noAddressFound();
        } else {
            current = m_addresses.first();
            co_await refreshFirstAddress(current, previous);
        }
    }

    m_log.LogMessage(formatText(u"%@ %@ refreshed. (%@)", support::bundleName(),
                                support::bundleShortVersionString(), current));
    if (rebuildMenu)
        buildMenu();
}

Task<> AppController::refreshFirstAddress(QString current, std::optional<QString> previous)
{
    const std::optional<QString> name = co_await m_platform.host.name(current);
    setTitleOfDNSNameRow(name.value_or(u"DNS name unavailable"_s));
    m_log.LogMessage(
        formatText(u"Internal IP address:%@ (%@)", current, name.value_or(u"no name"_s)));
    m_log.LogMessage(u"Current internal IP addresses found listed below:"_s);
    for (int number = 1; const QString &address : std::as_const(m_addresses))
        m_log.LogMessage(formatText(u"[%d] %@", number++, address));

    showFirstAddress(m_addresses);
    if (current.isNull())
        co_return;
    if (previous) {
        m_log.LogMessage(formatText(u"Last internal IP address: %@", *previous));
        if (current.compare(*previous, Qt::CaseInsensitive) == 0)
            co_return;
    }
    rememberAddress(current);
    m_log.LogMessage(
        formatText(u"(First) Internal IP address changed from:%@ to:%@", previous, current));
}

void AppController::noAddressFound()
{
    m_log.LogMessage(u"No internal IP could not be found"_s);
    showFirstAddress({});
    setTitleOfDNSNameRow(u"DNS name unavailable"_s);
    rememberAddress(kNoAddress);
}

Task<> AppController::ipAddressChanged()
{
    co_await refresh(false);
    showChangeIcon();
}

void AppController::showChangeIcon()
{
    if (!m_settings.displayChangedIconWhenAddressChangeDetected())
        return;
    if (m_settings.titleIconOnly())
        m_item->setTitle({});
    m_item->setImage(kChangeImage);
}

void AppController::showFirstAddress(const QStringList &addresses)
{
    if (addresses.isEmpty())
        setTitle(kNoAddress, false);
    else if (addresses.first().isNull())
        setTitle(kMissingElement, false);
    else
        setTitle(addresses.first(), m_settings.titleIconOnly());
}

void AppController::setTitle(const QString &title, bool withIcon)
{
    if (withIcon) {
        m_item->setTitle({});
        m_item->setImage(kSmallImage);
        return;
    }
    m_item->setImage(std::nullopt);
    std::optional<QString> machineName;
    if (m_settings.includeMachineNameInTitle())
        machineName = m_platform.host.machineName();
    m_item->setTitle(machineName ? formatText(u"%@:%@", title, *machineName) : title);
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
    showFirstAddress(addresses);
    if (image == kChangeImage)
        m_item->setImage(image);
}

void AppController::rememberAddress(const QString &address)
{
    m_platform.preferences.setValue(support::kLastIPAddress.key, address);
    m_platform.preferences.synchronize();
}

} // namespace quillfen::app
