// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "mail/CWInternetAddress.h"
#include "mail/TlsPolicy.h"

#include <QByteArrayView>
#include <QSslCertificate>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace {

using namespace Qt::StringLiterals;
using namespace quillfen::mail;
using quillfen::test::require;

/// A name in a certificate stands for its server, or with a star for all in one domain.
void checkNames(const QString &pattern, const QString &host)
{
    if (!matchesHost(pattern, host))
        return;
    require(!host.isEmpty() || pattern.isEmpty());
    if (!pattern.startsWith(u"*."_s)) {
        require(pattern.compare(host, Qt::CaseInsensitive) == 0);
        return;
    }
    require(host.endsWith(pattern.sliced(1), Qt::CaseInsensitive) && pattern.count(u'.') >= 2);
    require(host.count(u'.') == pattern.count(u'.'));
}

} // namespace

/// Two host names with a line end between; and all of it as a certificate.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QList<QByteArray> lines = bytes.split('\n');
    const QString pattern = QString::fromLatin1(lines.value(0));
    const QString host = QString::fromLatin1(asciiHostName(QString::fromUtf8(lines.value(1))));
    checkNames(pattern, host);
    for (const QSslCertificate &certificate : QSslCertificate::fromData(bytes, QSsl::Der)) {
        TlsPolicy::namesServer(certificate, host);
        require(!TlsPolicy::namesServer(certificate, u"other.quillfen.test"_s)
                || bytes.contains("quillfen.test"));
    }
    return 0;
}
