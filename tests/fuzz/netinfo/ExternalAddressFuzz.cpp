// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "netinfo/ExternalAddress.h"
#include "support/TextDecoding.h"

#include <QByteArrayView>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>

using namespace Qt::StringLiterals;
using quillfen::test::require;

/// What a lookup service may send, up to the address that is cut from it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    const QString page = quillfen::support::decodeText(bytes);
    require(bytes.isValidUtf8() ? page.toUtf8() == bytes : page.size() == bytes.size());

    const QString start = u"Current IP Address: "_s;
    const QString end = u"</body></html>"_s;
    const std::optional<QString> address = quillfen::netinfo::addressInPage(page);
    const qsizetype from = page.indexOf(start, 0, Qt::CaseInsensitive);
    const qsizetype to =
        from < 0 ? -1 : page.indexOf(end, from + start.size(), Qt::CaseInsensitive);
    require(address.has_value() == (to >= 0));
    if (address)
        require(*address == page.sliced(from + start.size(), to - from - start.size()));
    return 0;
}
