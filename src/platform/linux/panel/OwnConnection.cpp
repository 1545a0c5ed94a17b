// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/OwnConnection.h"

#include "platform/linux/bus/SessionBus.h"

#include <QString>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

QDBusConnection connect()
{
    const QString name = u"quillfen-"_s + QUuid::createUuid().toString(QUuid::Id128);
    return sessionBusExists() ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                              : QDBusConnection(name);
}

} // namespace

OwnConnection::OwnConnection() : m_connection(connect()) { }

OwnConnection::~OwnConnection()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

} // namespace quillfen::platform
