// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/desktop/StderrConsole.h"

#include <QByteArrayView>
#include <QString>

#include <cstddef>
#include <cstdint>

using quillfen::platform::withVisibleControls;
using quillfen::test::require;

/// A line for the console, with whatever text in it: it ends no line and steers no terminal.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QString visible = withVisibleControls(text);
    for (const QChar character : visible) {
        const char16_t unit = character.unicode();
        require(character.category() != QChar::Other_Control);
        require(unit != 0x061C && unit != 0x200E && unit != 0x200F);
        require(!(unit >= 0x2028 && unit <= 0x202E) && !(unit >= 0x2066 && unit <= 0x2069));
    }
    require(visible.size() >= text.size() && visible.size() <= 6 * text.size());
    require(withVisibleControls(visible) == visible);
    return 0;
}
