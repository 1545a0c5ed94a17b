// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/ItemObject.h"

#include "platform/linux/panel/BusTypes.h"
#include "platform/linux/panel/InterfaceXml.h"
#include "platform/linux/panel/PanelText.h"

#include <QDBusError>
#include <QDBusObjectPath>

#include <chrono>
#include <utility>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Plasma gives its token when a menu opens, of which nothing may be chosen.
constexpr std::chrono::milliseconds kTokenPatience = 500ms;

QString programName()
{
    return u"Quillfen"_s;
}

} // namespace

PanelFace panelFace(const QString &title, const std::optional<QString> &image)
{
    PanelFace face{.label = onePanelLine(title), .image = panelImage(image)};
    face.guide = labelGuide(face.label);
    face.toolTip = face.label.isEmpty() ? programName() : toolTipTitle(face.label);
    return face;
}

ItemObject::ItemObject(const QDBusConnection &connection, const QString &path,
                       const QString &menuPath, PanelFace face)
    : ServedObject(connection, path, u"org.kde.StatusNotifierItem"_s, statusNotifierItemXml()),
      m_menuPath(menuPath),
      m_face(std::move(face)),
      m_line(std::make_unique<PromptLine>(connection))
{
    registerBusTypes();
    // Panels call these on other clicks and the wheel; an error would only fill their logs.
    const auto accept = [this](const QDBusMessage &message) { reply(message); };
    setMethods({{u"ContextMenu"_s, u"ii"_s, accept},
                {u"SecondaryActivate"_s, u"ii"_s, accept},
                {u"XAyatanaSecondaryActivate"_s, u"u"_s, accept},
                {u"Scroll"_s, u"is"_s, accept},
                {u"ProvideXdgActivationToken"_s, u"s"_s, [this](const QDBusMessage &message) {
                     answerToken(true); // to the one before
                     m_tokenGiven = message;
                     m_tokenPatience.start(kTokenPatience);
                     Q_EMIT activationTokenProvided(message.arguments().value(0).toString());
                 }}});
    m_tokenPatience.setSingleShot(true);
    connect(&m_tokenPatience, &QTimer::timeout, this, [this] { answerToken(true); });
}

void ItemObject::answerToken(bool wasSpent)
{
    m_tokenPatience.stop();
    const std::optional<QDBusMessage> call = std::exchange(m_tokenGiven, {});
    if (!call)
        return;
    if (wasSpent)
        reply(*call);
    else // not as an unknown method: then GNOME would never give another
        replyError(*call, QDBusError::Failed, u"No window came of it"_s);
}

void ItemObject::show(PanelFace face)
{
    const PanelFace before = std::exchange(m_face, std::move(face));
    if (before.label != m_face.label)
        emitSignal(u"XAyatanaNewLabel"_s, {m_face.label, m_face.guide});
    if (before.image.iconName != m_face.image.iconName)
        emitSignal(u"NewIcon"_s);
    if (before.toolTip != m_face.toolTip)
        emitSignal(u"NewToolTip"_s);
}

QVariantMap ItemObject::properties() const
{
    const std::vector<Pixmap> drawn = pixmaps(m_face.image);
    const auto noPixmaps = QVariant::fromValue(QList<Pixmap>());
    QVariantMap all{
        {u"Category"_s, u"SystemServices"_s},
        {u"Id"_s, u"quillfen"_s},
        {u"Title"_s, programName()},
        {u"Status"_s, u"Active"_s},
        {u"WindowId"_s, 0},
        {u"Menu"_s, QVariant::fromValue(QDBusObjectPath(m_menuPath))},
        {u"ItemIsMenu"_s, true},
        {u"IconThemePath"_s, iconThemePath()},
        {u"IconName"_s, m_face.image.iconName},
        {u"IconPixmap"_s, QVariant::fromValue(QList<Pixmap>(drawn.begin(), drawn.end()))},
        {u"IconAccessibleDesc"_s, m_face.image.description},
        {u"OverlayIconName"_s, QString()},
        {u"OverlayIconPixmap"_s, noPixmaps},
        {u"AttentionIconName"_s, QString()},
        {u"AttentionIconPixmap"_s, noPixmaps},
        {u"AttentionMovieName"_s, QString()},
        {u"AttentionAccessibleDesc"_s, QString()},
        {u"ToolTip"_s, QVariant::fromValue(ToolTip{.title = m_face.toolTip})},
        {u"XAyatanaLabelGuide"_s, m_face.guide},
        {u"XAyatanaOrderingIndex"_s, 0u},
    };
    // MATE's notification area shows nothing at all where the label is there and empty.
    if (!m_face.label.isEmpty())
        all.insert(u"XAyatanaLabel"_s, m_face.label);
    return all;
}

} // namespace quillfen::platform
