// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/panel/PanelText.h"

#include <QByteArrayView>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace {

using namespace Qt::StringLiterals;
using namespace quillfen::platform;
using quillfen::test::require;

/// Whether @p text stays in its line and leaves the writing around it alone.
bool staysInPlace(const QString &text)
{
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        const bool turns = unit == 0x061C || unit == 0x200E || unit == 0x200F
            || (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
        if (turns || unit == 0x2028 || unit == 0x2029
            || character.category() == QChar::Other_Control)
            return false;
    }
    return true;
}

} // namespace

/// The name of a host or a network, or what a page said the address is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const QString line = onePanelLine(text);
    require(staysInPlace(line) && line.size() <= kMaxPanelText && onePanelLine(line) == line);
    require(line.isValidUtf16() || !text.isValidUtf16());

    require(labelGuide(line).size() <= line.size() + 15);
    const QString title = toolTipTitle(text);
    require(staysInPlace(title) && title.size() == line.size());
    for (const QChar mark : {u'&', u'<', u'>'})
        require(!title.contains(mark));
    QString label = menuLabel(text);
    require(staysInPlace(label) && label.count(u'_') == 2 * line.count(u'_'));
    require(label.replace(u"__"_s, u"_"_s) == line);
    return 0;
}
