// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/panel/BusTypes.h"
#include "platform/linux/panel/MenuOpening.h"
#include "platform/linux/panel/MenuRows.h"
#include "platform/linux/panel/ServedObject.h"

#include <functional>
#include <map>
#include <memory>

namespace quillfen::platform {

/// A Menu for the panels of the desktop: com.canonical.dbusmenu, version 3.
///
/// When a host announces an opening, the menu that is installed then is exported and its delegate
/// brings it up to date. A menu installed later waits for the next opening: an open one never
/// changes its rows, only their titles. A panel that has not announced any opening yet
/// may be of the kind that never does, so it gets each menu at once.
class DBusMenu final : public ServedObject {
    Q_OBJECT

public:
    /// To be registered on @p path of @p connection.
    DBusMenu(const QDBusConnection &connection, const QString &path);

    void install(std::shared_ptr<Menu> menu);
    /// Forgets what is known of the panel's habits: another one takes over.
    void panelChanged();
    /// What is chosen next may bring a window to the front, by @p token.
    void useActivationToken(const QString &token) { m_activationToken = token; }

Q_SIGNALS:
    /// The command that was chosen is done, and the token @p wasSpent on a window of it.
    void tokenTried(bool wasSpent);

private:
    QVariantMap properties() const override;
    void announce(MenuOpening::Sign sign, MenuOpening::Answer answer);
    void show(std::shared_ptr<Menu> menu);
    void retitle(std::size_t index);
    void queueFlush();
    void flush();
    bool takeEvent(int id, const QString &type);
    void choose(int id);
    bool knows(int id) const { return id == 0 || m_rows.indexOf(id).has_value(); }
    void refuseId(const QDBusMessage &message, int id) const;

    void getLayout(const QDBusMessage &message) const;
    void getGroupProperties(const QDBusMessage &message) const;
    void getProperty(const QDBusMessage &message) const;
    void hearEvent(const QDBusMessage &message);
    void eventGroup(const QDBusMessage &message);
    void aboutToShow(const QDBusMessage &message);
    void aboutToShowGroup(const QDBusMessage &message);

    std::shared_ptr<Menu> m_installed;
    std::shared_ptr<Menu> m_shown; ///< The one that is exported.
    MenuRows m_rows; ///< Of m_shown.
    uint m_revision = 1; ///< Of the layout.
    uint m_toldRevision = 1;
    uint m_revisionBefore = 1; ///< The layout's before the opening.
    std::map<int, MenuRow> m_changed; ///< By id: rows as the hosts know them.
    bool m_flushQueued = false;
    bool m_panelAnnounces = false;
    QString m_activationToken; ///< Not used yet; empty for none.
    MenuOpening m_opening;
};

} // namespace quillfen::platform
