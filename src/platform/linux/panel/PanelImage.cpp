// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/PanelImage.h"

#include <QCoreApplication>
#include <QDir>
#include <QResource>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

PanelImage panelImage(const std::optional<QString> &name)
{
    if (name == u"QuillfenSmall.tif"_s)
        return {.iconName = u"quillfen-small-symbolic"_s,
                .description = u"Quillfen"_s,
                .resource = u":/images/QuillfenSmall.tif"_s};
    if (name == u"QuillfenChange.tif"_s)
        return {.iconName = u"quillfen-change-symbolic"_s,
                .description = u"Quillfen: the address has changed"_s,
                .resource = u":/images/QuillfenChange.tif"_s};
    return {.iconName = u"com.corvane.Quillfen-symbolic"_s,
            .description = u"Quillfen"_s,
            .resource = u":/images/Quillfen.tif"_s};
}

std::vector<Pixmap> pixmaps(const PanelImage &image)
{
    const QResource resource(image.resource);
    return tiffPages({reinterpret_cast<const std::byte *>(resource.data()),
                      static_cast<std::size_t>(resource.size())});
}

QString iconThemePath()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/../share/icons"_s);
}

} // namespace quillfen::platform
