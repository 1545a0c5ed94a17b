// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// What the program says of itself.
namespace quillfen::support {

/// The program's name as people read it: "Quillfen".
QString bundleName();
/// The program's version as people read it: "0.1.0".
QString bundleShortVersionString();

} // namespace quillfen::support
