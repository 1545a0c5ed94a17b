// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/panel/TiffPages.h"

#include <QDBusArgument>
#include <QList>
#include <QString>
#include <QVariant>

namespace quillfen::platform {

/// The tool tip of a StatusNotifierItem: (sa(iiay)ss).
struct ToolTip {
    QString iconName{};
    QList<Pixmap> pixmaps{};
    QString title{};
    QString text{};
};

/// A row of a menu and its properties: (ia{sv}).
struct MenuProperties {
    int id = 0;
    QVariantMap properties{};
};

/// The names of properties that a row of a menu no longer has: (ias).
struct MenuRemovedProperties {
    int id = 0;
    QStringList names{};
};

/// A menu as a tree: (ia{sv}av), its children being of the same kind.
struct MenuNode {
    int id = 0;
    QVariantMap properties{};
    QList<MenuNode> children{};
};

/// Something that the user did to a row of a menu: (isvu).
struct MenuEvent {
    int id = 0;
    QString type{};
    QDBusVariant data{};
    uint time = 0; ///< The desktop's own, in milliseconds; 0 if it has none.
};

QDBusArgument &operator<<(QDBusArgument &out, const Pixmap &value);
const QDBusArgument &operator>>(const QDBusArgument &in, Pixmap &value);
QDBusArgument &operator<<(QDBusArgument &out, const ToolTip &value);
const QDBusArgument &operator>>(const QDBusArgument &in, ToolTip &value);
QDBusArgument &operator<<(QDBusArgument &out, const MenuProperties &value);
const QDBusArgument &operator>>(const QDBusArgument &in, MenuProperties &value);
QDBusArgument &operator<<(QDBusArgument &out, const MenuRemovedProperties &value);
const QDBusArgument &operator>>(const QDBusArgument &in, MenuRemovedProperties &value);
QDBusArgument &operator<<(QDBusArgument &out, const MenuNode &value);
const QDBusArgument &operator>>(const QDBusArgument &in, MenuNode &value);
QDBusArgument &operator<<(QDBusArgument &out, const MenuEvent &value);
const QDBusArgument &operator>>(const QDBusArgument &in, MenuEvent &value);

/// Makes the types above known to the bus library; doing it again does no harm.
void registerBusTypes();

} // namespace quillfen::platform

Q_DECLARE_METATYPE(quillfen::platform::Pixmap)
Q_DECLARE_METATYPE(quillfen::platform::ToolTip)
Q_DECLARE_METATYPE(quillfen::platform::MenuProperties)
Q_DECLARE_METATYPE(quillfen::platform::MenuRemovedProperties)
Q_DECLARE_METATYPE(quillfen::platform::MenuNode)
Q_DECLARE_METATYPE(quillfen::platform::MenuEvent)
