// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusPublication.h"

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

#include <optional>

namespace quillfen::platform {

/// The status for other programs, as properties on the session bus (StatusProperties.h). Main
/// thread only.
class StatusService : public QObject, public StatusPublication {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.corvane.Quillfen.Status")
    Q_CLASSINFO("D-Bus Introspection",
                "  <interface name=\"com.corvane.Quillfen.Status\">\n"
                "    <property name=\"Title\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"Addresses\" type=\"as\" access=\"read\">\n"
                "      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\""
                " value=\"invalidates\"/>\n"
                "    </property>\n"
                "    <property name=\"DNSName\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"ComputerName\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"WirelessNetwork\" type=\"s\" access=\"read\"/>\n"
                "    <property name=\"ExternalAddress\" type=\"s\" access=\"read\"/>\n"
                "  </interface>\n")
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QStringList Addresses READ addresses)
    Q_PROPERTY(QString DNSName READ dnsName)
    Q_PROPERTY(QString ComputerName READ computerName)
    Q_PROPERTY(QString WirelessNetwork READ wirelessNetwork)
    Q_PROPERTY(QString ExternalAddress READ externalAddress)

public:
    /// On @p bus, if there is one.
    explicit StatusService(const std::optional<QDBusConnection> &bus);
    ~StatusService() override;

    /// The bus is another from now on.
    void moveTo(const QDBusConnection &bus);

    void publish(const ShownStatus &status) override;

    QString title() const { return m_status.title; }
    QStringList addresses() const { return m_status.addresses; }
    QString dnsName() const { return m_status.dnsName.value_or(QString()); }
    QString computerName() const { return m_status.computerName.value_or(QString()); }
    QString wirelessNetwork() const { return m_status.wirelessNetwork.value_or(QString()); }
    QString externalAddress() const { return m_status.externalAddress.value_or(QString()); }

private:
    void serve();
    void tell();

    std::optional<QDBusConnection> m_bus;
    ShownStatus m_status;
    ShownStatus m_told; ///< What listeners know.
    bool m_tellingQueued = false;
};

} // namespace quillfen::platform
