// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/CurlFunctions.h"

#include <dlfcn.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

/// What dlerror(3) says.
QString lastTrouble()
{
    const char *const said = dlerror();
    return said ? QString::fromLocal8Bit(said) : u"no function"_s;
}

/// Finds functions in a library, or in those that it needs itself.
class FunctionFinder {
public:
    explicit FunctionFinder(void *library) : m_library(library) { }

    template <typename Function>
    void find(Function &function, const char *name)
    {
        function = reinterpret_cast<Function>(dlsym(m_library, name));
        if (!function && m_trouble.isEmpty())
            m_trouble = lastTrouble();
    }
    /// About the first that was not found.
    const QString &trouble() const { return m_trouble; }

private:
    void *m_library;
    QString m_trouble;
};

void findTransfers(CurlFunctions &found, FunctionFinder &finder)
{
    finder.find(found.globalInit, "curl_global_init");
    finder.find(found.easyInit, "curl_easy_init");
    finder.find(found.easyCleanup, "curl_easy_cleanup");
    finder.find(found.easySetopt, "curl_easy_setopt");
    finder.find(found.easyGetinfo, "curl_easy_getinfo");
    finder.find(found.easyHeader, "curl_easy_header");
    finder.find(found.multiInit, "curl_multi_init");
    finder.find(found.multiCleanup, "curl_multi_cleanup");
    finder.find(found.multiSetopt, "curl_multi_setopt");
    finder.find(found.multiAddHandle, "curl_multi_add_handle");
    finder.find(found.multiRemoveHandle, "curl_multi_remove_handle");
    finder.find(found.multiSocketAction, "curl_multi_socket_action");
    finder.find(found.multiInfoRead, "curl_multi_info_read");
    finder.find(found.slistAppend, "curl_slist_append");
    finder.find(found.slistFreeAll, "curl_slist_free_all");
}

void findTrust(CurlFunctions &found, FunctionFinder &finder)
{
    finder.find(found.sslContextStore, "SSL_CTX_get_cert_store");
    finder.find(found.storeAdd, "X509_STORE_add_cert");
    finder.find(found.storeLoadPath, "X509_STORE_load_path");
    finder.find(found.defaultFolder, "X509_get_default_cert_dir");
}

} // namespace

CurlLoading loadCurl(const QByteArray &file)
{
    // Never closed: not all that comes with it can be unloaded.
    void *const library = dlopen(file.constData(), RTLD_LAZY | RTLD_LOCAL);
    if (!library)
        return {.functions = {}, .trouble = lastTrouble()};
    CurlFunctions found = {};
    FunctionFinder finder(library);
    findTransfers(found, finder);
    findTrust(found, finder);
    if (!finder.trouble().isEmpty())
        return {.functions = {}, .trouble = finder.trouble()};
    if (const CURLcode code = found.globalInit(CURL_GLOBAL_DEFAULT); code != CURLE_OK)
        return {.functions = {}, .trouble = u"curl_global_init gave %1"_s.arg(int(code))};
    return {.functions = found, .trouble = {}};
}

} // namespace quillfen::platform
