// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/PanelText.h"

#include <QList>
#include <QStringView>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

bool turnsDirection(QChar c)
{
    const char16_t u = c.unicode();
    return u == 0x061C || u == 0x200E || u == 0x200F || (u >= 0x202A && u <= 0x202E)
        || (u >= 0x2066 && u <= 0x2069);
}

bool breaksLine(QChar c)
{
    return c.category() == QChar::Other_Control || c == QChar::LineSeparator
        || c == QChar::ParagraphSeparator;
}

/// Where the address, or the dashes that stand for none, at the start of @p label ends;
/// 0 if it starts with neither.
qsizetype endOfAddress(QStringView label)
{
    const qsizetype colon = label.indexOf(u':');
    const QStringView address = colon < 0 ? label : label.first(colon);
    if (address == u"-.-.-.-")
        return address.size();
    const auto bytes = address.split(u'.');
    const bool isAddress =
        bytes.size() == 4 && std::ranges::all_of(bytes, [](QStringView byte) {
            const bool digits =
                std::ranges::all_of(byte, [](QChar c) { return c >= u'0' && c <= u'9'; });
            return digits && !byte.isEmpty() && byte.size() <= 3 && byte.toInt() <= 255;
        });
    return isAddress ? address.size() : 0;
}

} // namespace

QString onePanelLine(const QString &text)
{
    QString line = text.left(kMaxPanelText);
    if (text.size() > kMaxPanelText) {
        line.chop(1 + line.at(kMaxPanelText - 2).isHighSurrogate());
        line += u'…';
    }
    line.removeIf(turnsDirection);
    std::ranges::replace_if(line, breaksLine, u' ');
    return line;
}

QString labelGuide(const QString &label)
{
    const QString widest = u"255.255.255.255"_s;
    if (const qsizetype end = endOfAddress(label))
        return widest + label.mid(end);
    return label.size() < widest.size() ? widest : label;
}

QString toolTipTitle(const QString &text)
{
    QString title = onePanelLine(text);
    title.replace(u'&', u'＆').replace(u'<', u'＜').replace(u'>', u'＞');
    return title;
}

QString menuLabel(const QString &title)
{
    QString label = onePanelLine(title);
    label.replace(u"_"_s, u"__"_s);
    return label;
}

} // namespace quillfen::platform
