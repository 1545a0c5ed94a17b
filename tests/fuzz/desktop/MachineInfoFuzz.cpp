// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/desktop/MachineInfo.h"

#include <cstddef>
#include <cstdint>

using quillfen::platform::prettyHostname;
using quillfen::test::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray file(reinterpret_cast<const char *>(data), qsizetype(size));
    const std::optional<QString> name = prettyHostname(file);
    // A name is one visible line, whatever the file holds.
    require(!name || (!name->isEmpty() && name->trimmed() == *name));
    for (const QChar c : name.value_or(QString()))
        require(c.category() != QChar::Other_Control);
    return 0;
}
