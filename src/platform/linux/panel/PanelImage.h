// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/panel/TiffPages.h"

#include <QString>

#include <optional>
#include <vector>

namespace quillfen::platform {

/// An image of the program as a panel gets it.
struct PanelImage {
    QString iconName; ///< In the icon theme at iconThemePath().
    QString description; ///< For those who hear the panel instead of seeing it.
    QString resource; ///< Its pixels, for panels that do not find the name.
};

/// The image of the resource @p name ("QuillfenSmall.tif"). No name and an unknown one
/// give the program's own icon: an item without any is invisible in some panels and
/// a picture of a missing picture in others.
PanelImage panelImage(const std::optional<QString> &name);

/// The pixels of @p image in all sizes that are drawn, smallest first. Read anew each time,
/// straight from the program's file, so that they take no memory between two askings.
std::vector<Pixmap> pixmaps(const PanelImage &image);

/// The folder of the icon theme that comes with this program.
QString iconThemePath();

} // namespace quillfen::platform
