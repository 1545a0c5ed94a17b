// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/DBusMenu.h"

#include "platform/linux/bus/ActivationToken.h"
#include "platform/linux/panel/InterfaceXml.h"

#include <QDBusError>
#include <QPointer>

#include <algorithm>
#include <set>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

using Sign = MenuOpening::Sign;

QVariantMap rootProperties()
{
    return {{u"children-display"_s, u"submenu"_s}};
}

/// A host's choice of properties; an empty list means all.
class Wanted {
public:
    explicit Wanted(const QStringList &names)
        : m_all(names.isEmpty()),
          m_names(names.begin(), names.end())
    { }
    QVariantMap of(QVariantMap properties) const
    {
        if (!m_all)
            properties.removeIf(
                [this](const auto &entry) { return !m_names.contains(entry.key()); });
        return properties;
    }

private:
    bool m_all;
    std::set<QString> m_names;
};

/// The entries of @p now that @p before has not, or has with another value.
QVariantMap difference(QVariantMap now, const QVariantMap &before)
{
    now.removeIf([&before](const auto &entry) {
        return before.contains(entry.key()) && before.value(entry.key()) == entry.value();
    });
    return now;
}

} // namespace

DBusMenu::DBusMenu(const QDBusConnection &connection, const QString &path)
    : ServedObject(connection, path, u"com.canonical.dbusmenu"_s, dbusMenuXml())
{
    registerBusTypes();
    m_rows.take(nullptr);
    QObject::connect(&m_opening, &MenuOpening::answering, this, &DBusMenu::flush);
    const auto to = [this](auto method) {
        return [this, method](const QDBusMessage &message) { (this->*method)(message); };
    };
    setMethods({{u"GetLayout"_s, u"iias"_s, to(&DBusMenu::getLayout)},
                {u"GetGroupProperties"_s, u"aias"_s, to(&DBusMenu::getGroupProperties)},
                {u"GetProperty"_s, u"is"_s, to(&DBusMenu::getProperty)},
                {u"Event"_s, u"isvu"_s, to(&DBusMenu::hearEvent)},
                {u"EventGroup"_s, u"a(isvu)"_s, to(&DBusMenu::eventGroup)},
                {u"AboutToShow"_s, u"i"_s, to(&DBusMenu::aboutToShow)},
                {u"AboutToShowGroup"_s, u"ai"_s, to(&DBusMenu::aboutToShowGroup)}});
}

QVariantMap DBusMenu::properties() const
{
    return {{u"Version"_s, 3u},
            {u"TextDirection"_s, u"ltr"_s},
            {u"Status"_s, u"normal"_s},
            {u"IconThemePath"_s, QStringList()}};
}

void DBusMenu::install(std::shared_ptr<Menu> menu)
{
    m_installed = std::move(menu);
    if (!m_panelAnnounces)
        show(m_installed);
}

void DBusMenu::panelChanged()
{
    m_panelAnnounces = false;
    show(m_installed);
}

void DBusMenu::announce(Sign sign, MenuOpening::Answer answer)
{
    const uint revision = m_revision;
    const std::uint64_t opening = m_opening.announce(sign, std::move(answer));
    if (opening == 0)
        return;
    m_panelAnnounces = true;
    m_revisionBefore = revision;
    show(m_installed);
    if (!m_shown) {
        m_opening.ready(opening);
        return;
    }
    m_shown->delegate().menuNeedsUpdate(m_shown, [self = QPointer(this), opening] {
        if (self)
            self->m_opening.ready(opening);
    });
}

void DBusMenu::show(std::shared_ptr<Menu> menu)
{
    if (menu == m_shown)
        return;
    if (m_shown)
        m_shown->disconnect(this);
    m_shown = std::move(menu);
    if (m_shown)
        QObject::connect(m_shown.get(), &Menu::titleChanged, this, &DBusMenu::retitle);
    MenuRows::Change change = m_rows.take(m_shown.get());
    for (MenuRow &row : change.before)
        m_changed.try_emplace(row.id, std::move(row));
    m_revision += change.layout;
    queueFlush();
}

void DBusMenu::retitle(std::size_t index)
{
    MenuRow before = m_rows.setTitle(index, m_shown->items()[index].title);
    m_changed.try_emplace(before.id, std::move(before));
    queueFlush();
}

void DBusMenu::queueFlush()
{
    if (!std::exchange(m_flushQueued, true))
        QMetaObject::invokeMethod(this, &DBusMenu::flush, Qt::QueuedConnection);
}

void DBusMenu::flush()
{
    m_flushQueued = false;
    if (std::exchange(m_toldRevision, m_revision) != m_revision)
        emitSignal(u"LayoutUpdated"_s, {m_revision, 0});
    QList<MenuProperties> updated;
    QList<MenuRemovedProperties> removed;
    for (const auto &[id, before] : std::exchange(m_changed, {})) {
        const auto index = m_rows.indexOf(id);
        if (!index)
            continue;
        const QVariantMap had = before.properties();
        const QVariantMap has = m_rows.all()[*index].properties();
        if (const QVariantMap news = difference(has, had); !news.isEmpty())
            updated.append({id, news});
        QStringList gone = had.keys();
        gone.removeIf([&has](const QString &name) { return has.contains(name); });
        if (!gone.isEmpty())
            removed.append({id, gone});
    }
    if (!updated.isEmpty() || !removed.isEmpty())
        emitSignal(u"ItemsPropertiesUpdated"_s,
                   {QVariant::fromValue(updated), QVariant::fromValue(removed)});
}

bool DBusMenu::takeEvent(int id, const QString &type)
{
    if (!knows(id))
        return false;
    if (type == u"clicked")
        choose(id);
    else if (id == 0 && type == u"opened")
        announce(Sign::Opened, [] {});
    else if (id == 0 && type == u"closed")
        m_opening.close();
    return true;
}

void DBusMenu::choose(int id)
{
    const auto index = m_rows.indexOf(id);
    if (!index || !m_shown || m_shown->items().empty())
        return;
    // Later: the host waits for the answer to this call, and the command may take its time.
    const auto act = [self = QPointer(this), menu = m_shown, item = m_shown->items()[*index],
                      token = std::exchange(m_activationToken, {})] {
        const ActivationToken inForce(token);
        if (!item.separator && menu->delegate().validateMenuItem(item))
            menu->delegate().sendAction(item);
        if (self && !token.isEmpty())
            Q_EMIT self->tokenTried(inForce.isSpent());
    };
    QMetaObject::invokeMethod(this, act, Qt::QueuedConnection);
}

void DBusMenu::refuseId(const QDBusMessage &message, int id) const
{
    replyError(message, QDBusError::InvalidArgs, u"The menu has no row %1"_s.arg(id));
}

void DBusMenu::getLayout(const QDBusMessage &message) const
{
    const QVariantList given = message.arguments();
    const int parent = given[0].toInt();
    if (!knows(parent)) {
        refuseId(message, parent);
        return;
    }
    const Wanted wanted(given[2].toStringList());
    MenuNode node{.id = parent};
    if (parent != 0) {
        node.properties = wanted.of(m_rows.all()[*m_rows.indexOf(parent)].properties());
    } else {
        node.properties = wanted.of(rootProperties());
        if (given[1].toInt() != 0) // a depth of 0 is the node alone, a negative one is all
            for (const MenuRow &row : m_rows.all())
                node.children.append({.id = row.id, .properties = wanted.of(row.properties())});
    }
    reply(message, {m_revision, QVariant::fromValue(node)});
}

void DBusMenu::getGroupProperties(const QDBusMessage &message) const
{
    const QVariantList given = message.arguments();
    const auto asked = qdbus_cast<QList<int>>(given[0]);
    const std::set<int> ids(asked.begin(), asked.end());
    const Wanted wanted(given[1].toStringList());
    QList<MenuProperties> found;
    if (ids.empty() || ids.contains(0))
        found.append({0, wanted.of(rootProperties())});
    for (const MenuRow &row : m_rows.all())
        if (ids.empty() || ids.contains(row.id))
            found.append({row.id, wanted.of(row.properties())});
    reply(message, {QVariant::fromValue(found)});
}

void DBusMenu::getProperty(const QDBusMessage &message) const
{
    const QVariantList given = message.arguments();
    const int id = given[0].toInt();
    const QString name = given[1].toString();
    if (!knows(id)) {
        refuseId(message, id);
        return;
    }
    const auto properties =
        id == 0 ? rootProperties() : m_rows.all()[*m_rows.indexOf(id)].properties();
    if (const QVariant value = properties.value(name); value.isValid())
        reply(message, {QVariant::fromValue(QDBusVariant(value))});
    else
        replyError(message, QDBusError::InvalidArgs,
                   u"Row %1 has no property of that name"_s.arg(id));
}

void DBusMenu::hearEvent(const QDBusMessage &message)
{
    const QVariantList given = message.arguments();
    const int id = given[0].toInt();
    if (takeEvent(id, given[1].toString()))
        reply(message);
    else
        refuseId(message, id);
}

void DBusMenu::eventGroup(const QDBusMessage &message)
{
    QList<int> unknown;
    for (const MenuEvent &one : qdbus_cast<QList<MenuEvent>>(message.arguments().first()))
        if (!takeEvent(one.id, one.type))
            unknown.append(one.id);
    reply(message, {QVariant::fromValue(unknown)});
}

void DBusMenu::aboutToShow(const QDBusMessage &message)
{
    const int id = message.arguments().first().toInt();
    if (id == 0)
        announce(Sign::AboutToShow,
                 [this, message] { reply(message, {m_revision != m_revisionBefore}); });
    else if (knows(id))
        reply(message, {false});
    else
        refuseId(message, id);
}

void DBusMenu::aboutToShowGroup(const QDBusMessage &message)
{
    const auto ids = qdbus_cast<QList<int>>(message.arguments().first());
    QList<int> unknown = ids;
    unknown.removeIf([this](int id) { return knows(id); });
    const auto answer = [this, message, unknown, root = ids.contains(0)] {
        const QList<int> changed =
            root && m_revision != m_revisionBefore ? QList<int>{0} : QList<int>{};
        reply(message, {QVariant::fromValue(changed), QVariant::fromValue(unknown)});
    };
    if (ids.contains(0))
        announce(Sign::AboutToShow, answer);
    else
        answer();
}

} // namespace quillfen::platform
