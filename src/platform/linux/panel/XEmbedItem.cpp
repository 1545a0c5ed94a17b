// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/XEmbedItem.h"

#include "platform/linux/panel/PopupMenu.h"

#include <QCursor>
#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QtEndian>

#include <utility>

namespace quillfen::platform {

namespace {

QImage picture(const Pixmap &pixmap)
{
    QImage image(pixmap.width, pixmap.height, QImage::Format_ARGB32);
    const auto *row = pixmap.pixels.constData();
    for (int y = 0; y < pixmap.height; ++y, row += std::ptrdiff_t(4) * pixmap.width)
        qFromBigEndian<quint32>(row, pixmap.width, image.scanLine(y));
    return image;
}

QIcon icon(const PanelImage &image)
{
    QIcon sizes;
    for (const Pixmap &pixmap : pixmaps(image))
        sizes.addPixmap(QPixmap::fromImage(picture(pixmap)));
    return sizes;
}

} // namespace

/// The icon in the tray and its menu.
struct XEmbedItem::Presence {
    Presence()
    {
        QObject::connect(&tray, &QSystemTrayIcon::activated, &menu,
                         [this](QSystemTrayIcon::ActivationReason reason) {
                             if (reason == QSystemTrayIcon::Trigger
                                 || reason == QSystemTrayIcon::Context)
                                 menu.open(QCursor::pos());
                         });
    }

    void show(PanelFace next)
    {
        if (next.image.iconName != face.image.iconName)
            tray.setIcon(icon(next.image));
        if (next.toolTip != face.toolTip)
            tray.setToolTip(next.toolTip);
        face = std::move(next);
        tray.show(); // from its first face on
    }

    PanelFace face; ///< What the tray shows.
    PopupMenu menu;
    QSystemTrayIcon tray;
};

XEmbedItem::XEmbedItem() = default;
XEmbedItem::~XEmbedItem() = default;

void XEmbedItem::appear()
{
    if (m_presence)
        return;
    m_presence = std::make_unique<Presence>();
    m_presence->menu.install(m_menu);
    queueFlush();
}

void XEmbedItem::disappear()
{
    m_presence.reset();
}

void XEmbedItem::setTitle(const QString &title)
{
    m_title = title;
    queueFlush();
}

void XEmbedItem::setImage(const std::optional<QString> &name)
{
    m_image = name;
    queueFlush();
}

void XEmbedItem::setMenu(std::shared_ptr<Menu> menu)
{
    m_menu = std::move(menu);
    if (m_presence)
        m_presence->menu.install(m_menu);
}

void XEmbedItem::queueFlush()
{
    if (m_presence && !std::exchange(m_flushQueued, true))
        QMetaObject::invokeMethod(this, &XEmbedItem::flush, Qt::QueuedConnection);
}

void XEmbedItem::flush()
{
    if (std::exchange(m_flushQueued, false) && m_presence)
        m_presence->show(panelFace(m_title, m_image));
}

} // namespace quillfen::platform
