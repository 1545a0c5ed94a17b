// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

#include <curl/curl.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

namespace quillfen::platform {

/// What we use of libcurl, and of the OpenSSL that it brings along: each function under its own
/// name, less the `curl_`.
struct CurlFunctions {
    decltype(&curl_global_init) globalInit;
    decltype(&curl_easy_init) easyInit;
    decltype(&curl_easy_cleanup) easyCleanup;
    decltype(&curl_easy_setopt) easySetopt;
    decltype(&curl_easy_getinfo) easyGetinfo;
    decltype(&curl_easy_header) easyHeader;
    decltype(&curl_multi_init) multiInit;
    decltype(&curl_multi_cleanup) multiCleanup;
    decltype(&curl_multi_setopt) multiSetopt;
    decltype(&curl_multi_add_handle) multiAddHandle;
    decltype(&curl_multi_remove_handle) multiRemoveHandle;
    decltype(&curl_multi_socket_action) multiSocketAction;
    decltype(&curl_multi_info_read) multiInfoRead;
    decltype(&curl_slist_append) slistAppend;
    decltype(&curl_slist_free_all) slistFreeAll;
    decltype(&SSL_CTX_get_cert_store) sslContextStore; ///< SSL_CTX_get_cert_store
    decltype(&X509_STORE_add_cert) storeAdd; ///< X509_STORE_add_cert
    decltype(&X509_STORE_load_path) storeLoadPath; ///< X509_STORE_load_path
    decltype(&X509_get_default_cert_dir) defaultFolder; ///< X509_get_default_cert_dir
};

/// How loading a library came out.
struct CurlLoading {
    std::optional<CurlFunctions> functions; ///< Ready for use: libcurl is initialised.
    QString trouble; ///< What was wrong, in the system's words, if there are none.
};

/// Loads the library @p file (a name or a path, as dlopen(3) takes it). A file that was found stays
/// in the process, and is found again under its name, even where a function is missing in it. This
/// waits for the disk; it may be called on any thread, by one at a time.
CurlLoading loadCurl(const QByteArray &file);

} // namespace quillfen::platform
