// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Console.h"

#include "platform/SystemConsole.h"

#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::support {

namespace {

/// Walks over the options of one conversion.
struct OptionReader {
    QStringView text;
    qsizetype at;

    bool take(QChar wanted)
    {
        if (at >= text.size() || text[at] != wanted)
            return false;
        ++at;
        return true;
    }

    bool takeRun(QStringView wanted)
    {
        const qsizetype start = at;
        while (at < text.size() && wanted.contains(text[at]))
            ++at;
        return at > start;
    }

    /// Digits and a "$", or nothing at all.
    void takePosition()
    {
        const qsizetype start = at;
        if (!takeRun(u"0123456789") || !take(u'$'))
            at = start;
    }

    /// A number, or "*" for one that would come from an argument.
    void takeAmount()
    {
        if (take(u'*'))
            takePosition();
        else
            takeRun(u"0123456789");
    }

    void takeLength()
    {
        for (const QStringView length : {u"hh", u"h", u"ll", u"l", u"q", u"L", u"j", u"z", u"t"}) {
            if (text.sliced(at).startsWith(length)) {
                at += length.size();
                return;
            }
        }
    }
};

/// What the conversion @p letter prints for an absent value; nothing when there is no such one.
std::optional<QStringView> absentValue(QChar letter)
{
    if (QStringView(u"@sS").contains(letter))
        return u"(null)";
    if (QStringView(u"diuxofegacDUXOFEGAC").contains(letter))
        return u"0";
    if (letter == u'p')
        return u"0x0";
    if (letter == u'n')
        return u"";
    return std::nullopt;
}

} // namespace

QString expandFormat(QStringView format)
{
    QString expanded;
    for (qsizetype at = 0; at < format.size();) {
        const qsizetype percent = format.indexOf(u'%', at);
        if (percent < 0)
            return expanded += format.sliced(at);
        expanded += format.sliced(at, percent - at);

        OptionReader reader{.text = format, .at = percent + 1};
        if (reader.take(u'%')) {
            expanded += u'%';
            at = reader.at;
            continue;
        }
        reader.takePosition();
        reader.takeRun(u"-+ 0#'");
        reader.takeAmount();
        if (reader.take(u'.'))
            reader.takeAmount();
        reader.takeLength();

        const bool complete = reader.at < format.size();
        const auto value = complete ? absentValue(format[reader.at]) : std::nullopt;
        at = value ? reader.at + 1 : reader.at;
        expanded += value ? *value : format.sliced(percent, at - percent);
    }
    return expanded;
}

void Console::log(const QString &format)
{
    if (format.contains(u'%'))
        m_console.write(expandFormat(format));
    else
        m_console.write(format);
}

void Console::write(const QString &line)
{
    m_console.write(line);
}

} // namespace quillfen::support
