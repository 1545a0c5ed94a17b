// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "support/Console.h"
#include "support/FormatText.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

using quillfen::support::expandFormat;
using quillfen::support::formatText;
using quillfen::test::require;

/// Any text, as UTF-8 with its errors replaced: read as a format, and put into one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QString expanded = expandFormat(text);
    require(expanded.size() <= 3 * text.size());
    require(text.contains(u'%') || expanded == text);

    QString doubled = text;
    doubled.replace(u'%', QStringLiteral("%%"));
    require(expandFormat(doubled) == text);
    require(formatText(doubled) == text);

    require(formatText(u"[%@]%d", text, 7) == u'[' + text + QStringLiteral("]7"));
    require(formatText(text, text).size() <= text.size() * (text.size() / 2 + 6) + 6);
    return 0;
}
