// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/QtArguments.h"

#include <QGuiApplication>
#include <QTest>

#include <vector>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// The arguments of a main() with @p words.
class Words {
public:
    explicit Words(QByteArrayList words) : m_words(std::move(words))
    {
        for (QByteArray &word : m_words)
            m_pointers.push_back(word.data());
        m_pointers.push_back(nullptr);
    }
    int count() const { return static_cast<int>(m_words.size()); }
    char **pointers() { return m_pointers.data(); }

private:
    QByteArrayList m_words;
    std::vector<char *> m_pointers;
};

} // namespace

class QtArgumentsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        for (const char *name : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "WAYLAND_SOCKET", "DISPLAY"})
            qunsetenv(name);
    }

    void onlyWhatTheEnvironmentTellsOfIsTried_data()
    {
        struct Row {
            const char *name;
            QByteArray wayland;
            QByteArray waylandSocket;
            QByteArray x11;
            QByteArray expected;
        };
        static const Row rows[] = {
            {.name = "nothing",
             .wayland = {},
             .waylandSocket = {},
             .x11 = {},
             .expected = "offscreen"},
            {.name = "X11",
             .wayland = {},
             .waylandSocket = {},
             .x11 = ":0",
             .expected = "xcb;offscreen"},
            {.name = "Wayland",
             .wayland = "wayland-0",
             .waylandSocket = {},
             .x11 = {},
             .expected = "wayland;offscreen"},
            {.name = "Wayland's socket",
             .wayland = {},
             .waylandSocket = "7",
             .x11 = {},
             .expected = "wayland;offscreen"},
            {.name = "both",
             .wayland = "wayland-0",
             .waylandSocket = {},
             .x11 = ":0",
             .expected = "wayland;xcb;offscreen"},
        };
        QTest::addColumn<QByteArray>("wayland");
        QTest::addColumn<QByteArray>("waylandSocket");
        QTest::addColumn<QByteArray>("x11");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.wayland << row.waylandSocket << row.x11 << row.expected;
    }
    void onlyWhatTheEnvironmentTellsOfIsTried()
    {
        QFETCH(QByteArray, wayland);
        QFETCH(QByteArray, waylandSocket);
        QFETCH(QByteArray, x11);
        QFETCH(QByteArray, expected);
        qputenv("WAYLAND_DISPLAY", wayland);
        qputenv("WAYLAND_SOCKET", waylandSocket);
        qputenv("DISPLAY", x11);
        QCOMPARE(windowingSystems(), expected);
    }

    void whatTheUserChoseIsTaken_data()
    {
        struct Row {
            const char *name;
            QByteArray variable;
            QByteArrayList words;
            QString expected;
        };
        static const Row rows[] = {
            {.name = "nothing chosen",
             .variable = {},
             .words = {"quillfen"},
             .expected = u"offscreen"_s},
            {.name = "an argument",
             .variable = {},
             .words = {"quillfen", "-platform", "minimal"},
             .expected = u"minimal"_s},
            {.name = "a variable",
             .variable = "minimal",
             .words = {"quillfen"},
             .expected = u"minimal"_s},
            {.name = "both",
             .variable = "offscreen",
             .words = {"quillfen", "-platform", "minimal"},
             .expected = u"minimal"_s},
        };
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArrayList>("words");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.variable << row.words << row.expected;
    }
    void whatTheUserChoseIsTaken()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArrayList, words);
        QFETCH(QString, expected);
        if (!variable.isEmpty())
            qputenv("QT_QPA_PLATFORM", variable);
        Words given(words);
        QtArguments arguments(given.count(), given.pointers());
        const QGuiApplication application(arguments.count(), arguments.values());
        QCOMPARE(QGuiApplication::platformName(), expected);
    }

    void theUsersOwnWordsStayAsTheyAre()
    {
        Words given({"quillfen", "--version", "a b", ""});
        QtArguments arguments(given.count(), given.pointers());
        QByteArrayList seen;
        for (int i = 0; i < arguments.count(); ++i)
            seen += arguments.values()[i];
        QCOMPARE(seen,
                 (QByteArrayList{"quillfen", "-platform", "offscreen", "--version", "a b", ""}));
        QVERIFY(!arguments.values()[arguments.count()]);
    }
};

} // namespace quillfen::platform

QTEST_APPLESS_MAIN(quillfen::platform::QtArgumentsTest)
#include "QtArgumentsTest.moc"
