// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>
#include <type_traits>

namespace quillfen::support {

/// Whether T counts, rather than telling true from false or one letter from another.
template <typename T>
inline constexpr bool kIsWholeNumber =
    std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, char16_t>;

/// One value to be put into a format: a text, an absent text, or a whole number.
class FormatArgument {
public:
    FormatArgument(const QString &text) : m_text(text) { }
    FormatArgument(QStringView text) : m_text(text.toString()) { }
    FormatArgument(QLatin1StringView text) : m_text(text) { }
    /// An absent text stands as "(null)".
    FormatArgument(const std::optional<QString> &text);
    template <typename T, std::enable_if_t<kIsWholeNumber<T>, bool> = true>
    FormatArgument(T number) : m_text(QString::number(number))
    { }

    const QString &text() const { return m_text; }

private:
    QString m_text;
};

/// What formatText() does, for arguments that are already in a list.
QString fillFormat(QStringView format, const QList<FormatArgument> &arguments);

/// Fills in a format. Every fixed text of the program goes through here, so that each stands in
/// the source letter for letter and can be found by searching for it.
///
/// Each "%@" and each "%d" takes the next argument, "%%" stands for "%", and any other "%" for
/// itself. The format is read once: a "%" inside an argument is only text. Where the arguments
/// run out, "%@" stands as "(null)" and "%d" as "0"; arguments too many are left out.
template <typename... Arguments>
QString formatText(QStringView format, const Arguments &...arguments)
{
    return fillFormat(format, QList<FormatArgument>{FormatArgument(arguments)...});
}

} // namespace quillfen::support
