// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/web/CurlFunctions.h"

#include <QTimer>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

class QSocketNotifier;

namespace quillfen::platform {

/// Runs one transfer of libcurl's from Qt's event loop: libcurl says which sockets and what time
/// to wait for, and is told when these come. In each call it does what can be done at once, and
/// never waits.
///
/// A server from whom more than kMostReceived has come is cut off, whatever it was: its transfer
/// ends with CURLE_FILESIZE_EXCEEDED.
/// @source libcurl-multi(3), "MULTI_SOCKET".
class CurlMulti {
public:
    static constexpr std::uint64_t kMostReceived = 8 * 1024 * 1024; ///< In bytes.

    /// Begins the transfer that @p handle describes, and says once how it ended, from the event
    /// loop. @p curl and @p handle must outlive this; @p ended must not destroy it.
    CurlMulti(const CurlFunctions &curl, CURL *handle, std::function<void(CURLcode)> ended);
    /// Ends the transfer and closes its connection.
    ~CurlMulti();
    CurlMulti(const CurlMulti &) = delete;
    CurlMulti &operator=(const CurlMulti &) = delete;

private:
    /// What is waited for at one socket.
    struct Watch {
        std::shared_ptr<QSocketNotifier> toRead;
        std::shared_ptr<QSocketNotifier> toWrite;
    };

    static int watchSocket(CURL *, curl_socket_t socket, int what, void *self, void *);
    static int setTime(CURLM *, long milliseconds, void *self);
    static int askWhetherToGoOn(void *self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);

    void watch(curl_socket_t socket, int what);
    /// Has libcurl do what @p events (CURL_CSELECT_…) at @p socket allow.
    void act(curl_socket_t socket, int events);
    void end(CURLcode code);

    const CurlFunctions &m_curl;
    std::function<void(CURLcode)> m_ended;
    CURL *m_handle;
    QTimer m_time;
    int m_steps = 0; ///< How often libcurl has asked in this call whether to go on.
    std::map<curl_socket_t, Watch> m_watches;
    std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> m_multi;
};

} // namespace quillfen::platform
