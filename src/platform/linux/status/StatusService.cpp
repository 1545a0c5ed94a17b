// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/status/StatusService.h"

#include "platform/linux/status/StatusProperties.h"

#include <QDBusMessage>

#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

/// What PropertiesChanged says of those that are not the same.
struct Differences {
    QVariantMap changed;
    QStringList invalidated; ///< A list of addresses may be long, and few want it each time.
};

Differences differences(const QVariantMap &before, const QVariantMap &now)
{
    Differences found;
    for (auto [name, value] : now.asKeyValueRange()) {
        if (before.value(name) == value)
            continue;
        if (value.typeId() == QMetaType::QStringList)
            found.invalidated += name;
        else
            found.changed.insert(name, value);
    }
    return found;
}

} // namespace

StatusService::StatusService(const std::optional<QDBusConnection> &bus) : m_bus(bus)
{
    serve();
}

StatusService::~StatusService() = default;

void StatusService::moveTo(const QDBusConnection &bus)
{
    m_bus = bus;
    serve();
}

void StatusService::serve()
{
    if (m_bus)
        m_bus->registerObject(kStatusPath, this, QDBusConnection::ExportAllProperties);
}

void StatusService::publish(const ShownStatus &status)
{
    m_status = status;
    if (m_bus && m_status != m_told && !std::exchange(m_tellingQueued, true))
        QMetaObject::invokeMethod(this, &StatusService::tell, Qt::QueuedConnection);
}

void StatusService::tell()
{
    m_tellingQueued = false;
    if (m_told == m_status || !m_bus->isConnected())
        return;
    const auto [changed, invalidated] = differences(toProperties(m_told), toProperties(m_status));
    m_told = m_status;
    QDBusMessage signal =
        QDBusMessage::createSignal(kStatusPath, kPropertiesInterface, u"PropertiesChanged"_s);
    signal << QString(kStatusInterface) << changed << invalidated;
    m_bus->send(signal);
}

} // namespace quillfen::platform
