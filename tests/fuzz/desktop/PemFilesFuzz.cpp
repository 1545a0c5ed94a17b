// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/desktop/PemFiles.h"

#include <cstddef>
#include <cstdint>

using quillfen::test::require;

/// Each certificate stands in the text as it is, from its first line to the next last one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QByteArray last = "-----END CERTIFICATE-----";
    for (const QByteArray &certificate : quillfen::platform::pemCertificates(text)) {
        require(certificate.startsWith("-----BEGIN CERTIFICATE-----"));
        require(certificate.indexOf(last) == certificate.size() - last.size());
        require(text.contains(certificate));
    }
    return 0;
}
