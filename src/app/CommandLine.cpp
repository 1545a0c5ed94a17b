// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"

#include <QLatin1StringView>

#include <algorithm>
#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::app {

namespace {

enum class Value { None, Optional, Needed };

/// One option of ours: what it is called, and what it makes of the command line.
struct Option {
    QLatin1StringView name;
    Value value;
    /// @returns false if @p value is none that the option knows; it is empty where there is none.
    bool (*take)(CommandLine &line, const QString &value);
    QLatin1StringView values = {}; ///< Those that it knows, as a reader sees them.
};

template <Errand errand>
bool setErrand(CommandLine &line, const QString &)
{
    line.errand = errand;
    return true;
}

template <bool CommandLine::*wish>
bool setWish(CommandLine &line, const QString &)
{
    return line.*wish = true;
}

bool setAutostart(CommandLine &line, const QString &value)
{
    line.errand = Errand::SetAutostart;
    line.autostart = value == "on"_L1;
    return line.autostart || value == "off"_L1;
}

bool setStatus(CommandLine &line, const QString &value)
{
    line.errand = Errand::PrintStatus;
    line.json = value == "json"_L1;
    return line.json || value.isEmpty();
}

constexpr auto kHelp = "help"_L1;
constexpr auto kVersion = "version"_L1;
constexpr auto kStatus = "status"_L1;
constexpr auto kFollow = "follow"_L1;

constexpr std::array kOptions{
    Option{kHelp, Value::None, setErrand<Errand::ShowHelp>},
    Option{kVersion, Value::None, setErrand<Errand::ShowVersion>},
    Option{kStatus, Value::Optional, setStatus, "json or no value"_L1},
    Option{kFollow, Value::None, setErrand<Errand::FollowStatus>},
    Option{"autostart"_L1, Value::Needed, setAutostart, "on or off"_L1},
    Option{"quit"_L1, Value::None, setErrand<Errand::Quit>},
    Option{"preferences"_L1, Value::None, setWish<&CommandLine::preferences>},
    Option{"headless"_L1, Value::None, setWish<&CommandLine::headless>},
};

/// The options that Qt's application object takes for itself, with a value and without.
/// @source Qt 6.4: QGuiApplication, QApplication, and the xcb plugin.
constexpr std::array kQtOptionsWithValue{"platform"_L1,
                                         "platformpluginpath"_L1,
                                         "platformtheme"_L1,
                                         "plugin"_L1,
                                         "qwindowgeometry"_L1,
                                         "geometry"_L1,
                                         "qwindowicon"_L1,
                                         "icon"_L1,
                                         "qwindowtitle"_L1,
                                         "title"_L1,
                                         "session"_L1,
                                         "display"_L1,
                                         "name"_L1,
                                         "style"_L1,
                                         "stylesheet"_L1};
constexpr std::array kQtOptions{"reverse"_L1, "nograb"_L1, "dograb"_L1, "widgetcount"_L1};

/// An option's word, cut: "--status=json".
struct Word {
    QString name;
    std::optional<QString> value; ///< What stands behind the "=".
};

std::optional<Word> cut(const QString &word)
{
    if (word == "-h"_L1 || word == "-v"_L1)
        return Word{.name = word == "-h"_L1 ? kHelp : kVersion, .value = {}};
    if (!word.startsWith(u'-'))
        return {};
    const QString bare = word.mid(word.startsWith("--"_L1) ? 2 : 1);
    const qsizetype sign = bare.indexOf(u'=');
    if (sign < 0)
        return Word{.name = bare, .value = {}};
    return Word{.name = bare.left(sign), .value = bare.mid(sign + 1)};
}

CommandLine refusal(const QString &complaint)
{
    CommandLine line;
    line.errand = Errand::Refuse;
    line.complaint = complaint;
    return line;
}

/// Reads the words one after the other.
class Reader {
public:
    explicit Reader(const QStringList &words) : m_words(words) { }

    CommandLine read()
    {
        while (m_complaint.isEmpty() && m_next < m_words.size())
            readWord(m_words.at(m_next++));
        if (m_complaint.isEmpty())
            settle();
        return m_complaint.isEmpty() ? m_line : refusal(m_complaint);
    }

private:
    void readWord(const QString &word)
    {
        const std::optional<Word> option = cut(word);
        if (!option) {
            m_complaint = u"there is nothing to be done with \"%1\""_s.arg(word);
            return;
        }
        const auto *own = std::ranges::find(kOptions, option->name, &Option::name);
        if (own != kOptions.end())
            readOption(*own, option->value);
        else if (std::ranges::find(kQtOptionsWithValue, option->name) != kQtOptionsWithValue.end())
            valueOf(word, option->value);
        else if (std::ranges::find(kQtOptions, option->name) == kQtOptions.end())
            m_complaint = u"there is no option \"%1\""_s.arg(word);
    }

    void readOption(const Option &option, const std::optional<QString> &behindSign)
    {
        if (option.value == Value::None && behindSign) {
            m_complaint = u"--%1 takes no value"_s.arg(option.name);
            return;
        }
        const QString value = option.value == Value::Needed
            ? valueOf(u"--"_s + option.name, behindSign)
            : behindSign.value_or(QString());
        if (!m_complaint.isEmpty())
            return;
        if (!option.take(m_line, value) || (behindSign && value.isEmpty()))
            m_complaint = u"--%1 takes %2, not \"%3\""_s.arg(option.name, option.values, value);
        else if (!m_given.contains(option.name))
            m_given += option.name;
    }

    /// The value of @p option: behind its "=", or the next word.
    QString valueOf(const QString &option, const std::optional<QString> &behindSign)
    {
        if (behindSign)
            return *behindSign;
        if (m_next < m_words.size())
            return m_words.at(m_next++);
        m_complaint = u"a value is missing behind %1"_s.arg(option);
        return {};
    }

    /// Each option is for itself; but whoever asks for help gets it, and following is a way of
    /// asking for the status.
    void settle()
    {
        if (m_given.contains(kHelp))
            m_line.errand = Errand::ShowHelp;
        else if (m_given.contains(kVersion))
            m_line.errand = Errand::ShowVersion;
        else if (m_given.size() == 2 && m_given.contains(kStatus) && m_given.contains(kFollow))
            m_line.errand = Errand::FollowStatus;
        else if (m_given.size() > 1)
            m_complaint = u"--%1 and --%2 do not go together"_s.arg(m_given.at(0), m_given.at(1));
    }

    const QStringList &m_words;
    qsizetype m_next = 0;
    CommandLine m_line;
    QStringList m_given; ///< The names of our options, each once.
    QString m_complaint;
};

} // namespace

CommandLine readCommandLine(const QStringList &words)
{
    return Reader(words).read();
}

QString helpText()
{
    return QStringLiteral(
        R"(Usage: quillfen [option]
Shows this machine's first IP address in the status area and follows its changes.

  --preferences        start with the preferences window, or show that of the running program
  --quit               end the running program
  --autostart on|off   start with the session from now on, or not any more
  --headless           watch, log and mail without display and status area

  --status             print what the running program shows
  --status=json        the same as one JSON object
  --follow             print a JSON line for bars at once and at each change, till the program ends

  -h, --help           print this text
  -v, --version        print the version

Qt's own options, such as -platform and -style, are taken as well. The exit status is 0, or 1 where
something did not work, or 2 for a command line that makes no sense.
)");
}

} // namespace quillfen::app
