// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FormatText.h"

using namespace Qt::StringLiterals;

namespace quillfen::support {

FormatArgument::FormatArgument(const std::optional<QString> &text)
    : m_text(text ? *text : u"(null)"_s)
{ }

QString fillFormat(QStringView format, const QList<FormatArgument> &arguments)
{
    QString filled;
    auto next = arguments.begin();
    const auto takeArgument = [&](const QString &missing) {
        return next == arguments.end() ? missing : (next++)->text();
    };
    for (qsizetype at = 0; at < format.size(); ++at) {
        const QStringView conversion = format.sliced(at).first(qMin(2, format.size() - at));
        if (conversion == u"%@")
            filled += takeArgument(u"(null)"_s);
        else if (conversion == u"%d")
            filled += takeArgument(u"0"_s);
        else if (conversion == u"%%")
            filled += u'%';
        else {
            filled += format[at];
            continue;
        }
        ++at;
    }
    return filled;
}

} // namespace quillfen::support
