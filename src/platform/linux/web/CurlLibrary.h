// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/Task.h"
#include "platform/linux/web/CurlFunctions.h"

#include <QByteArray>
#include <QObject>

#include <optional>
#include <thread>
#include <vector>

namespace quillfen::platform {

class SystemConsole;

/// libcurl, from when it is first wanted. Linked, it would bring some thirty libraries into every
/// start before main().
///
/// It is loaded on a thread, once, and stays for as long as the process. One that cannot be loaded
/// is said on the console, once; whoever asks later has it tried again.
///
/// Destroying this waits for a loading that is under way. So would the end of the process in any
/// case: the system's loader lets nothing end while it loads.
class CurlLibrary {
public:
    /// The library's own name where it is compiled for OpenSSL; no other is of use.
    static constexpr const char *kFile = "libcurl.so.4";

    /// @p console must outlive this. @p file is as loadCurl() takes it.
    explicit CurlLibrary(SystemConsole &console, QByteArray file = kFile);
    CurlLibrary(const CurlLibrary &) = delete;
    CurlLibrary &operator=(const CurlLibrary &) = delete;
    ~CurlLibrary() = default;

    /// Its functions; null when it cannot be loaded. They are valid while this lives.
    Task<const CurlFunctions *> functions();

private:
    void startLoading();
    void finish(const CurlLoading &loading);

    SystemConsole &m_console;
    QByteArray m_file;
    std::optional<CurlFunctions> m_functions; ///< Once it is loaded.
    std::vector<Giver<const CurlFunctions *>> m_waiting;
    bool m_complained = false;
    QObject m_listener;
    std::jthread m_loader; ///< The last, as it uses what is above.
};

} // namespace quillfen::platform
