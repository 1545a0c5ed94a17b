// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"

#include <QObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::app {

namespace {

/// What a command line was understood as, in words.
QString spell(const CommandLine &line)
{
    switch (line.errand) {
    case Errand::Watch:
        return u"watch"_s + (line.preferences ? u" with preferences"_s : u""_s)
            + (line.headless ? u" headless"_s : u""_s);
    case Errand::ShowHelp:
        return u"help"_s;
    case Errand::ShowVersion:
        return u"version"_s;
    case Errand::SetAutostart:
        return line.autostart ? u"autostart on"_s : u"autostart off"_s;
    case Errand::PrintStatus:
        return line.json ? u"status as JSON"_s : u"status"_s;
    case Errand::FollowStatus:
        return u"follow"_s;
    case Errand::Quit:
        return u"quit"_s;
    case Errand::Refuse:
        return u"no: "_s + line.complaint;
    }
    return {};
}

} // namespace

class CommandLineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isUnderstoodAs_data()
    {
        struct Row {
            const char *name;
            QStringList words;
            QString expected;
        };
        const Row rows[] = {
            {"nothing", {}, u"watch"_s},
            {"preferences", {u"--preferences"_s}, u"watch with preferences"_s},
            {"headless", {u"--headless"_s}, u"watch headless"_s},
            {"quit", {u"--quit"_s}, u"quit"_s},
            {"one hyphen", {u"-quit"_s}, u"quit"_s},
            {"help", {u"--help"_s}, u"help"_s},
            {"help in short", {u"-h"_s}, u"help"_s},
            {"version", {u"--version"_s}, u"version"_s},
            {"version in short", {u"-v"_s}, u"version"_s},
            {"autostart on", {u"--autostart"_s, u"on"_s}, u"autostart on"_s},
            {"autostart off", {u"--autostart"_s, u"off"_s}, u"autostart off"_s},
            {"autostart with =", {u"--autostart=off"_s}, u"autostart off"_s},
            {"status", {u"--status"_s}, u"status"_s},
            {"status as JSON", {u"--status=json"_s}, u"status as JSON"_s},
            {"follow", {u"--follow"_s}, u"follow"_s},
            {"follow the status", {u"--status"_s, u"--follow"_s}, u"follow"_s},
            {"follow the status as JSON", {u"--follow"_s, u"--status=json"_s}, u"follow"_s},
            {"the same twice", {u"--quit"_s, u"--quit"_s}, u"quit"_s},
            {"the last value", {u"--autostart=on"_s, u"--autostart=off"_s}, u"autostart off"_s},
            {"help with others", {u"--quit"_s, u"--help"_s, u"--version"_s}, u"help"_s},
            {"version with others", {u"--version"_s, u"--quit"_s}, u"version"_s},

            {"Qt's -platform", {u"-platform"_s, u"xcb"_s}, u"watch"_s},
            {"Qt's with two hyphens", {u"--platform"_s, u"xcb"_s}, u"watch"_s},
            {"Qt's with =", {u"-style=fusion"_s}, u"watch"_s},
            {"Qt's -session of a session manager", {u"-session"_s, u"1-7_3"_s}, u"watch"_s},
            {"Qt's without value", {u"-reverse"_s, u"--headless"_s}, u"watch headless"_s},
            {"Qt's value like an option", {u"-title"_s, u"--quit"_s}, u"watch"_s},

            {"an unknown option", {u"--bogus"_s}, u"no: there is no option \"--bogus\""_s},
            {"an unknown short one", {u"-x"_s}, u"no: there is no option \"-x\""_s},
            {"one in another case", {u"--Quit"_s}, u"no: there is no option \"--Quit\""_s},
            {"a beginning only", {u"--stat"_s}, u"no: there is no option \"--stat\""_s},
            {"a hyphen", {u"-"_s}, u"no: there is no option \"-\""_s},
            {"two hyphens", {u"--"_s}, u"no: there is no option \"--\""_s},
            {"a word", {u"on"_s}, u"no: there is nothing to be done with \"on\""_s},
            {"an empty word", {u""_s}, u"no: there is nothing to be done with \"\""_s},
            {"a word behind an option",
             {u"--status"_s, u"json"_s},
             u"no: there is nothing to be done with \"json\""_s},
            {"an unknown option beside help",
             {u"--help"_s, u"--bogus"_s},
             u"no: there is no option \"--bogus\""_s},
            {"autostart maybe",
             {u"--autostart"_s, u"maybe"_s},
             u"no: --autostart takes on or off, not \"maybe\""_s},
            {"autostart without value",
             {u"--autostart"_s},
             u"no: a value is missing behind --autostart"_s},
            {"autostart with an empty value",
             {u"--autostart="_s},
             u"no: --autostart takes on or off, not \"\""_s},
            {"status in another form",
             {u"--status=xml"_s},
             u"no: --status takes json or no value, not \"xml\""_s},
            {"status with an empty value",
             {u"--status="_s},
             u"no: --status takes json or no value, not \"\""_s},
            {"a value too many", {u"--quit=now"_s}, u"no: --quit takes no value"_s},
            {"Qt's with its value missing",
             {u"-platform"_s},
             u"no: a value is missing behind -platform"_s},
            {"a window without a display",
             {u"--headless"_s, u"--preferences"_s},
             u"no: --headless and --preferences do not go together"_s},
            {"two errands",
             {u"--status"_s, u"--quit"_s},
             u"no: --status and --quit do not go together"_s},
            {"three errands",
             {u"--status"_s, u"--follow"_s, u"--quit"_s},
             u"no: --status and --follow do not go together"_s},
            {"an errand and a wish",
             {u"--quit"_s, u"--headless"_s},
             u"no: --quit and --headless do not go together"_s},
        };
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.words << row.expected;
    }
    void isUnderstoodAs()
    {
        QFETCH(QStringList, words);
        QFETCH(QString, expected);
        QCOMPARE(spell(readCommandLine(words)), expected);
    }

    void theHelpNamesEveryOption_data()
    {
        QTest::addColumn<QString>("option");
        for (const QString &option : {u"--preferences"_s, u"--quit"_s, u"--autostart on|off"_s,
                                      u"--headless"_s, u"--status"_s, u"--status=json"_s,
                                      u"--follow"_s, u"-h, --help"_s, u"-v, --version"_s})
            QTest::newRow(qPrintable(option)) << option;
    }
    void theHelpNamesEveryOption()
    {
        QFETCH(QString, option);
        QVERIFY(helpText().contains(u"\n  "_s + option + u"  "_s));
    }

    void theHelpFitsIntoATerminal()
    {
        QVERIFY(helpText().endsWith(u'\n'));
        for (const QString &line : helpText().split(u'\n'))
            QVERIFY2(line.size() <= 100, qPrintable(line));
    }
};

} // namespace quillfen::app

QTEST_APPLESS_MAIN(quillfen::app::CommandLineTest)
#include "CommandLineTest.moc"
