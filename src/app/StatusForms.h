// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusPublication.h"

#include <QByteArray>
#include <QStringList>

namespace quillfen::app {

/// For people: one line for each thing to know, "label: value"; what is not known says so.
QStringList statusLines(const platform::ShownStatus &status);

/// For programs: a JSON object in one line, with its end. `title`, `address` (the first),
/// `addresses`, `dnsName`, `computerName`, `wirelessNetwork` and `externalAddress`; null for what
/// is not known.
QByteArray statusJson(const platform::ShownStatus &status);

/// For bars: a JSON object in one line, with its end, as waybar's custom modules take it.
///
/// `text` is the title, `tooltip` the rest, both with Pango's markup characters escaped; `class` is
/// "connected" or, without a local address, "disconnected".
/// @source waybar-custom(5), "return-type"; Pango, "Text Attribute Markup".
QByteArray barLine(const platform::ShownStatus &status);

} // namespace quillfen::app
