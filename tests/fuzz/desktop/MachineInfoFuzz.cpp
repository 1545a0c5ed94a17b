// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/MachineInfo.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using quillfen::platform::prettyHostname;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray file(reinterpret_cast<const char *>(data), qsizetype(size));
    const std::optional<QString> name = prettyHostname(file);
    // A name is one visible line, whatever the file holds.
    if (name && (name->isEmpty() || name->trimmed() != *name))
        std::abort();
    for (const QChar c : name.value_or(QString())) {
        if (c.category() == QChar::Other_Control)
            std::abort();
    }
    return 0;
}
