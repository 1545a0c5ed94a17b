// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StatusTitle.h"

#include "app/Identifiers.h"
#include "netinfo/ExternalAddress.h"
#include "netinfo/IPAddressList.h"
#include "netinfo/WirelessNetworkName.h"
#include "platform/DynamicStore.h"
#include "platform/Host.h"
#include "platform/Platform.h"
#include "platform/StatusItem.h"
#include "support/FormatText.h"
#include "support/Log.h"

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::Task;
using support::formatText;

StatusTitle::StatusTitle(const platform::Platform &platform, support::Log &log,
                         platform::StatusItem &item, const netinfo::ExternalAddress &external)
    : m_platform(platform),
      m_log(log),
      m_item(item),
      m_external(external),
      m_settings(platform.preferences)
{ }

StatusTitle::~StatusTitle() = default;

void StatusTitle::watch()
{
    m_store = m_platform.stores.create(u"QuillfenTitle"_s, nullptr, nullptr);
    if (m_store && m_store->setNotificationKeys({platform::ipv4OfEveryService()}))
        m_source = m_store->createRunLoopSource();
    if (m_source)
        m_source->onEachChange([this](const QStringList &now) { showAhead(now); });

    std::unique_ptr<QStringList> addresses;
    if (netinfo::CopyIPAddressListSCF(m_platform.stores, &addresses) == netinfo::noErr)
        showAhead(*addresses);
}

void StatusTitle::showAhead(const QStringList &addresses)
{
    // The mark of a change stays until the turn's own composition takes it away.
    const std::optional<QString> image = m_item.image();
    noteAddresses(addresses);
    if (addresses.isEmpty())
        compose(kNoAddress, false);
    else if (addresses.first().isNull())
        compose(kMissingElement, false);
    else
        compose(addresses.first(), m_settings.titleIconOnly());
    if (image == kChangeImage)
        m_item.setImage(image);
    m_item.displayIfNeeded();
    publish(); // after it: the panel comes first
}

Task<> StatusTitle::setTitle(QString title, bool withIcon)
{
    const bool wireless = !withIcon && m_settings.includeCurrentWirelessNetworkInTitle();
    // Before anything of the title is touched: it changes once, however long this takes.
    if (wireless && !m_wirelessName)
        co_await lookUpWirelessName();
    compose(title, withIcon);
    publish();
    if (wireless)
        m_log.LogMessage(formatText(u"Wireless network: %@", m_wirelessName));
}

void StatusTitle::compose(const QString &title, bool withIcon)
{
    m_shown.wirelessNetwork.reset();
    if (withIcon) {
        m_item.setTitle({});
        m_item.setImage(kSmallImage);
        return;
    }
    m_item.setImage(std::nullopt);
    QString composed = title;
    if (m_settings.includeMachineNameInTitle()) {
        if (const std::optional<QString> machineName = m_platform.host.machineName())
            composed = formatText(u"%@:%@", composed, *machineName);
    }
    if (m_wirelessName && m_settings.includeCurrentWirelessNetworkInTitle()) {
        composed = formatText(u"%@:%@", composed, *m_wirelessName);
        m_shown.wirelessNetwork = m_wirelessName;
    }
    m_item.setTitle(composed);
}

Task<> StatusTitle::lookUpWirelessName()
{
    const std::optional<QString> name =
        co_await netinfo::LookUpWirelessNetworkName(m_log, m_platform.systemReport);
    m_wirelessName = name.value_or(u"?"_s);
}

void StatusTitle::showChangeIcon()
{
    if (!m_settings.displayChangedIconWhenAddressChangeDetected())
        return;
    if (m_settings.titleIconOnly()) {
        m_item.setTitle({});
        publish();
    }
    m_item.setImage(kChangeImage);
}

void StatusTitle::noteAddresses(const QStringList &addresses)
{
    m_shown.addresses = addresses;
}

void StatusTitle::noteDNSName(const QString &address, const std::optional<QString> &name)
{
    m_named = {.address = address, .name = name};
}

void StatusTitle::noteComputerName()
{
    m_shown.computerName = m_platform.host.machineName();
}

void StatusTitle::publish()
{
    m_shown.title = m_item.title();
    // The title may have gone ahead of the name, and may come back to the address that has it.
    const bool isNamed = m_shown.addresses.value(0) == m_named.address;
    m_shown.dnsName = isNamed ? m_named.name : std::nullopt;
    m_shown.externalAddress = m_external.kept();
    m_platform.statusPublication.publish(m_shown);
}

} // namespace quillfen::app
