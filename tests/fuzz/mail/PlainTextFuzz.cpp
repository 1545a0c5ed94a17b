// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "mail/PlainText.h"

#include <QByteArrayView>

#include <cstddef>
#include <cstdint>

using quillfen::mail::hasControl;
using quillfen::mail::plainLine;
using quillfen::test::require;

/// What a mail server said, or a recipient is called, on its way to the log.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QString line = plainLine(text);
    require(!hasControl(line) && line.size() <= text.size() && plainLine(line) == line);
    return 0;
}
