// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace quillfen::platform {

/// The name of the interface that has this machine's first address at this moment (ServiceOrder.h
/// tells which that is); empty when there is none, or when the kernel does not say.
QString interfaceOfFirstAddress();

} // namespace quillfen::platform
