// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/BusTypes.h"

#include <QDBusMetaType>

namespace quillfen::platform {

QDBusArgument &operator<<(QDBusArgument &out, const Pixmap &value)
{
    out.beginStructure();
    out << value.width << value.height << value.pixels;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, Pixmap &value)
{
    in.beginStructure();
    in >> value.width >> value.height >> value.pixels;
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const ToolTip &value)
{
    out.beginStructure();
    out << value.iconName << value.pixmaps << value.title << value.text;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, ToolTip &value)
{
    in.beginStructure();
    in >> value.iconName >> value.pixmaps >> value.title >> value.text;
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const MenuProperties &value)
{
    out.beginStructure();
    out << value.id << value.properties;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, MenuProperties &value)
{
    in.beginStructure();
    in >> value.id >> value.properties;
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const MenuRemovedProperties &value)
{
    out.beginStructure();
    out << value.id << value.names;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, MenuRemovedProperties &value)
{
    in.beginStructure();
    in >> value.id >> value.names;
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const MenuNode &value)
{
    out.beginStructure();
    out << value.id << value.properties;
    out.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const MenuNode &child : value.children)
        out << QDBusVariant(QVariant::fromValue(child));
    out.endArray();
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, MenuNode &value)
{
    in.beginStructure();
    in >> value.id >> value.properties;
    in.beginArray();
    while (!in.atEnd()) {
        QDBusVariant child;
        in >> child;
        value.children.append(qdbus_cast<MenuNode>(child.variant()));
    }
    in.endArray();
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const MenuEvent &value)
{
    out.beginStructure();
    out << value.id << value.type << value.data << value.time;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, MenuEvent &value)
{
    in.beginStructure();
    in >> value.id >> value.type >> value.data >> value.time;
    in.endStructure();
    return in;
}

void registerBusTypes()
{
    qDBusRegisterMetaType<Pixmap>();
    qDBusRegisterMetaType<QList<Pixmap>>();
    qDBusRegisterMetaType<ToolTip>();
    qDBusRegisterMetaType<MenuProperties>();
    qDBusRegisterMetaType<QList<MenuProperties>>();
    qDBusRegisterMetaType<MenuRemovedProperties>();
    qDBusRegisterMetaType<QList<MenuRemovedProperties>>();
    qDBusRegisterMetaType<MenuNode>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<QList<MenuEvent>>();
    qDBusRegisterMetaType<QList<int>>();
}

} // namespace quillfen::platform
