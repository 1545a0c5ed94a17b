// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/SessionGate.h"
#include "mail/TlsPolicy.h"

#include <QString>

#include <chrono>

namespace quillfen::platform {
class NameLookup;
}

namespace quillfen::support {
class Console;
}

namespace quillfen::mail {

/// How long each stage of a session may take, from its first byte to its last.
struct SmtpPatience {
    std::chrono::milliseconds connect = std::chrono::seconds(60); ///< Lookup and connection.
    std::chrono::milliseconds reply = std::chrono::seconds(60); ///< With a TLS handshake before it.
    std::chrono::milliseconds delivery = std::chrono::minutes(10); ///< The reply to the mail.
    std::chrono::milliseconds farewell = std::chrono::seconds(3); ///< The reply to QUIT.
    std::chrono::milliseconds rest = std::chrono::seconds(60); ///< Open without an order.
};

/// What the program's mail sessions share. Outlives them.
struct MailRoom {
    platform::NameLookup &names;
    support::Console &console; ///< Told why a mail did not go, where the log has no line for it.
    TlsPolicy tls;
    QString hostName; ///< This machine's, as the system has it.
    SmtpPatience patience;
    SessionGate gate;
};

} // namespace quillfen::mail
