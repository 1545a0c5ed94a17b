// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/OwnConnection.h"

#include <QString>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

QDBusConnection connect(const QByteArray &addresses)
{
    const QString name = u"quillfen-"_s + QUuid::createUuid().toString(QUuid::Id128);
    return QDBusConnection::connectToBus(QString::fromLatin1(addresses), name);
}

} // namespace

OwnConnection::OwnConnection(const QByteArray &addresses) : m_connection(connect(addresses)) { }

OwnConnection::~OwnConnection()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

} // namespace quillfen::platform
