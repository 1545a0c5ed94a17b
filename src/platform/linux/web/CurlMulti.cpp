// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/CurlMulti.h"

#include <QSocketNotifier>

#include <utility>

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace quillfen::platform {

namespace {

/// How much libcurl does in one call. It takes what a proxy says byte by byte, for as long as there
/// is any, and asks each time whether to go on; else a call has some hundred steps.
constexpr int kMostSteps = 16 * 1024;

/// A notifier that is off. Let go of, it is destroyed from the event loop: libcurl may let go of
/// the very one that is just calling it.
std::shared_ptr<QSocketNotifier> notifier(curl_socket_t socket, QSocketNotifier::Type type)
{
    const auto letGo = [](QSocketNotifier *notifier) {
        notifier->setEnabled(false);
        notifier->deleteLater();
    };
    std::shared_ptr<QSocketNotifier> made(new QSocketNotifier(socket, type), letGo);
    made->setEnabled(false);
    return made;
}

/// How many bytes have been read from @p socket (tcp(7): TCP_INFO, SIOCINQ).
std::uint64_t received(curl_socket_t socket)
{
    tcp_info info = {};
    socklen_t size = sizeof info;
    int unread = 0;
    if (getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0
        || ioctl(socket, SIOCINQ, &unread) != 0)
        return 0;
    return info.tcpi_bytes_received - std::uint64_t(unread);
}

} // namespace

CurlMulti::CurlMulti(const CurlFunctions &curl, CURL *handle, std::function<void(CURLcode)> ended)
    : m_curl(curl),
      m_ended(std::move(ended)),
      m_handle(handle),
      m_multi(m_curl.multiInit(), m_curl.multiCleanup)
{
    m_time.setSingleShot(true);
    m_time.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_time, &QTimer::timeout, &m_time, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
    m_curl.multiSetopt(m_multi.get(), CURLMOPT_SOCKETFUNCTION, &CurlMulti::watchSocket);
    m_curl.multiSetopt(m_multi.get(), CURLMOPT_SOCKETDATA, this);
    m_curl.multiSetopt(m_multi.get(), CURLMOPT_TIMERFUNCTION, &CurlMulti::setTime);
    m_curl.multiSetopt(m_multi.get(), CURLMOPT_TIMERDATA, this);
    m_curl.easySetopt(m_handle, CURLOPT_XFERINFOFUNCTION, &CurlMulti::askWhetherToGoOn);
    m_curl.easySetopt(m_handle, CURLOPT_XFERINFODATA, this);
    m_curl.easySetopt(m_handle, CURLOPT_NOPROGRESS, 0L);
    m_curl.multiAddHandle(m_multi.get(), m_handle); // sets the time to begin
}

CurlMulti::~CurlMulti()
{
    // Both still call back, to have sockets let go of.
    m_curl.multiRemoveHandle(m_multi.get(), m_handle);
    m_multi.reset();
}

int CurlMulti::watchSocket(CURL *, curl_socket_t socket, int what, void *self, void *)
{
    static_cast<CurlMulti *>(self)->watch(socket, what);
    return 0;
}

int CurlMulti::setTime(CURLM *, long milliseconds, void *self)
{
    QTimer &time = static_cast<CurlMulti *>(self)->m_time;
    if (milliseconds < 0)
        time.stop();
    else
        time.start(std::chrono::milliseconds(milliseconds));
    return 0;
}

int CurlMulti::askWhetherToGoOn(void *self, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return ++static_cast<CurlMulti *>(self)->m_steps > kMostSteps;
}

void CurlMulti::watch(curl_socket_t socket, int what)
{
    if (what == CURL_POLL_REMOVE) {
        m_watches.erase(socket);
        return;
    }
    Watch &watch = m_watches[socket];
    if (!watch.toRead) {
        watch = {.toRead = notifier(socket, QSocketNotifier::Read),
                 .toWrite = notifier(socket, QSocketNotifier::Write)};
        QObject::connect(watch.toRead.get(), &QSocketNotifier::activated, &m_time,
                         [this, socket] { act(socket, CURL_CSELECT_IN); });
        QObject::connect(watch.toWrite.get(), &QSocketNotifier::activated, &m_time,
                         [this, socket] { act(socket, CURL_CSELECT_OUT); });
    }
    watch.toRead->setEnabled(what & CURL_POLL_IN);
    watch.toWrite->setEnabled(what & CURL_POLL_OUT);
}

void CurlMulti::act(curl_socket_t socket, int events)
{
    if (socket != CURL_SOCKET_TIMEOUT && received(socket) > kMostReceived) {
        end(CURLE_FILESIZE_EXCEEDED);
        return;
    }
    m_steps = 0;
    int running = 0;
    m_curl.multiSocketAction(m_multi.get(), socket, events, &running);
    int left = 0;
    while (const CURLMsg *const message = m_curl.multiInfoRead(m_multi.get(), &left)) {
        if (message->msg == CURLMSG_DONE)
            end(message->data.result);
    }
}

void CurlMulti::end(CURLcode code)
{
    m_watches.clear();
    m_time.stop();
    m_ended(code);
}

} // namespace quillfen::platform
