// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillfen::platform {

/// The value of PRETTY_HOSTNAME in @p machineInfo; nothing when it is absent or empty.
///
/// The last assignment counts. Values are quoted as in the shell: bare, '…', or "…" with a
/// backslash in front of what is meant literally. Text that is not UTF-8 is taken as
/// Latin-1; control characters become blanks, blanks around the name go.
/// @source machine-info(5), os-release(5).
std::optional<QString> prettyHostname(const QByteArray &machineInfo);

/// The start of the regular file @p path, at most 64 KiB; empty when there is none to read.
/// Never blocks on a FIFO or device in its place.
QByteArray readMachineInfo(const QString &path);

} // namespace quillfen::platform
