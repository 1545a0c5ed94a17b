// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "netinfo/WirelessNetworkName.h"
#include "support/TextDecoding.h"

#include <QByteArrayView>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>

using namespace Qt::StringLiterals;
using quillfen::test::require;

/// A system report, up to the name of the network that is cut from it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString report =
        quillfen::support::decodeText(QByteArrayView(data, static_cast<qsizetype>(size)));
    const std::optional<QString> name = quillfen::netinfo::wirelessNameInReport(report);
    if (!name)
        return 0;
    require(report.contains(*name));
    if (report.contains(u"Current Wireless Network: "_s + *name + u'\n', Qt::CaseInsensitive))
        require(!name->contains(u'\n'));
    else
        require(name->trimmed() == *name);
    return 0;
}
