// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/linux/web/CurlFunctions.h"
#include "platform/linux/web/CurlMulti.h"
#include "platform/linux/web/WebAnswer.h"

#include <QByteArray>
#include <QByteArrayView>

#include <memory>
#include <optional>

namespace quillfen::platform {

/// One request by libcurl and its answer: a GET (RFC 9110 section 9.3.1) on a connection of its
/// own, over HTTP/1.1. Destroying it closes the connection at once.
///
/// What a server can make it read or hold is bounded: the heads of its answers together by
/// kMostHeadBytes and kMostHeadLines, the body by UrlLoader::kMostBytes once it is unpacked, and
/// all that it sends by CurlMulti::kMostReceived. A body that is packed more than once is none: a
/// few bytes of that can be endless work.
class CurlTransfer {
public:
    static constexpr qsizetype kMostHeadBytes = 64 * 1024;
    static constexpr int kMostHeadLines = 1000;

    /// Gives the answer to @p give; one without anything in it when the exchange fails. @p curl
    /// must outlive this.
    CurlTransfer(const CurlFunctions &curl, const WebRequest &request, Giver<WebAnswer> give);
    CurlTransfer(const CurlTransfer &) = delete;
    CurlTransfer &operator=(const CurlTransfer &) = delete;
    ~CurlTransfer() = default;

    /// Takes in one line of a head, or of the fields behind a body. @returns whether to go on.
    bool takeHead(QByteArrayView line);
    /// Takes in what came of the body. @returns whether to go on.
    bool takeBody(QByteArrayView piece);

private:
    using Handle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
    using List = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

    // What libcurl is told.
    void askFor(const WebRequest &request);
    void connectTo(const WebRequest &request);
    void trust();
    void listen();
    // What libcurl says.
    bool goesOnBehindHead();
    void end(CURLcode code);

    const CurlFunctions &m_curl;
    Giver<WebAnswer> m_give;
    std::optional<QSslConfiguration> m_trust; ///< libcurl asks for it when it connects.
    List m_addresses;
    List m_fields;
    Handle m_handle;
    qsizetype m_headBytes = 0;
    int m_headLines = 0;
    QByteArray m_body;
    std::optional<QUrl> m_redirect;
    std::optional<CurlMulti> m_multi; ///< The last, so that nothing comes when the others are gone.
};

} // namespace quillfen::platform
