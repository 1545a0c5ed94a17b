// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/web/CurlFunctions.h"

class QSslConfiguration;

namespace quillfen::platform {

/// Has @p context trust whom @p configuration trusts, and nobody else but whom it trusted before.
///
/// Certificates that are in memory are taken as they are, not read again: reading all those of a
/// system takes longer than the main thread has. Where @p configuration leaves it to the system
/// whom to trust, the one certificate that a server needs is looked up by its name in the
/// system's folder when it is needed.
void trustAs(const CurlFunctions &curl, const QSslConfiguration &configuration, SSL_CTX &context);

} // namespace quillfen::platform
