// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/panel/PanelImage.h"
#include "platform/linux/panel/PromptLine.h"
#include "platform/linux/panel/ServedObject.h"

#include <QDBusMessage>
#include <QString>
#include <QTimer>

#include <memory>
#include <optional>

namespace quillfen::platform {

/// What a panel shows of an item.
struct PanelFace {
    QString label{}; ///< Empty: none, so that a panel shows the image alone.
    QString guide{}; ///< The widest label to expect.
    QString toolTip{};
    PanelImage image{};
};

/// A face of the item for @p title and the image of the resource @p image.
PanelFace panelFace(const QString &title, const std::optional<QString> &image);

/// The item as panels read it: org.kde.StatusNotifierItem.
///
/// Name and title are the same for ever, since panels keep their order and their users' wishes
/// by them. There is no Activate, so a left click opens the menu.
class ItemObject final : public ServedObject {
    Q_OBJECT

public:
    /// To be registered on @p path of @p connection; its menu lies on @p menuPath there.
    ItemObject(const QDBusConnection &connection, const QString &path, const QString &menuPath,
               PanelFace face);

    /// Shows @p face, and tells panels what differs from the face before: the label ahead of all.
    void show(PanelFace face);
    bool hasLabel() const { return !m_face.label.isEmpty(); }
    /// Answers the panel that gave the last token: with an error where it was not spent, as GNOME
    /// shows its pointer busy for 15 s for a window that does not come.
    void answerToken(bool wasSpent);

Q_SIGNALS:
    /// A panel gives leave to bring a window to the front, for what its user is about to choose.
    /// It is answered by answerToken(), or well after half a second in which nothing is chosen.
    void activationTokenProvided(const QString &token);

private:
    QVariantMap properties() const override;
    void send(const QDBusMessage &message) const override { m_line->send(message); }

    QString m_menuPath;
    PanelFace m_face;
    std::unique_ptr<PromptLine> m_line;
    std::optional<QDBusMessage> m_tokenGiven; ///< The call, while it is not answered.
    QTimer m_tokenPatience;
};

} // namespace quillfen::platform
