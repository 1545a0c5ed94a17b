// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/PopupMenu.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QMenu>
#include <QObject>
#include <QStyle>
#include <QStyleOption>
#include <QTest>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Brings menus up to date when it is told to, and notes what was chosen.
class Delegate : public MenuDelegate {
public:
    bool validateMenuItem(const MenuItem &item) const override { return !item.action.empty(); }
    void menuNeedsUpdate(std::shared_ptr<Menu> menu, std::function<void()> done) override
    {
        ++openings;
        lastOpened = menu;
        if (onOpening)
            onOpening(*menu);
        if (answersAtOnce)
            done();
        else
            pending.push_back(std::move(done));
    }
    void sendAction(const MenuItem &item) override
    {
        chosen.append(item.title + u'/' + QString::number(item.tag));
    }

    int openings = 0;
    std::shared_ptr<Menu> lastOpened;
    bool answersAtOnce = true;
    std::function<void(Menu &)> onOpening;
    std::vector<std::function<void()>> pending;
    QStringList chosen;
};

std::vector<MenuItem> someRows()
{
    return {{.title = u"DNS name unavailable"_s, .action = "copyName", .toolTip = u"Copy it"_s},
            {.title = {}, .separator = true},
            {.title = u"All local Addresses:"_s},
            {.title = u"192.0.2.7"_s, .action = "copyAddress", .tag = 3},
            {.title = u"Quit"_s, .action = "quit"}};
}

} // namespace

/// The menu as a window, as the one who clicks sees it.
class PopupMenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_delegate.emplace();
        m_popup.emplace();
        install(someRows());
    }
    void cleanup()
    {
        m_popup.reset();
        m_menu.reset();
        m_delegate.reset();
    }

    void showsTheRowsWithTheirTipsAndWhatCanBeChosen()
    {
        const QMenu &window = open();
        QCOMPARE(titles(),
                 (QStringList{u"DNS name unavailable"_s, u"-"_s, u"All local Addresses:"_s,
                              u"192.0.2.7"_s, u"Quit"_s}));
        QVERIFY(window.toolTipsVisible());
        const QList<QAction *> rows = window.actions();
        QCOMPARE(rows[0]->toolTip(), u"Copy it"_s);
        QCOMPARE(rows[3]->toolTip().trimmed(), QString()); // none, not its title once more
        QVERIFY(rows[0]->isEnabled());
        QVERIFY(!rows[2]->isEnabled());
        QVERIFY(rows[3]->isEnabled());
    }

    void titlesStandForThemselves_data()
    {
        struct Row {
            const char *name;
            QString title;
            QString text;
        };
        const Row rows[] = {
            {.name = "ampersand", .title = u"a&b"_s, .text = u"a&&b"_s},
            {.name = "underscore", .title = u"host_1_a"_s, .text = u"host_1_a"_s},
            {.name = "tab", .title = u"host\tCtrl+Q"_s, .text = u"host Ctrl+Q"_s},
            {.name = "line break", .title = u"a\nb"_s, .text = u"a b"_s},
            {.name = "turned direction", .title = u"a\u202eb"_s, .text = u"ab"_s},
        };
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.title << row.text;
    }
    void titlesStandForThemselves()
    {
        QFETCH(QString, title);
        QFETCH(QString, text);
        m_delegate->onOpening = [&title](Menu &menu) { menu.setTitle(0, title); };
        QCOMPARE(open().actions().constFirst()->text(), text);
    }

    void anOpeningBringsTheInstalledMenuUpToDate()
    {
        const auto opened = m_menu;
        m_delegate->onOpening = [this](Menu &menu) {
            menu.setTitle(0, u"host.example"_s);
            install({{.title = u"Quit"_s, .action = "quit"}}); // for the next opening
        };
        open();
        QCOMPARE(m_delegate->lastOpened, opened);
        QCOMPARE(titles().size(), 5);
        QCOMPARE(titles().constFirst(), u"host.example"_s);
        close();
        m_delegate->onOpening = {};
        open();
        QCOMPARE(m_delegate->openings, 2);
        QCOMPARE(titles(), QStringList{u"Quit"_s});
    }

    void opensOnceTheTitlesAreThere()
    {
        m_delegate->answersAtOnce = false;
        m_popup->open({10, 10});
        QVERIFY(!QApplication::activePopupWidget());
        m_popup->open({10, 10}); // the same opening
        m_menu->setTitle(0, u"host.example"_s);
        m_delegate->pending.front()();
        QVERIFY(QApplication::activePopupWidget());
        QCOMPARE(titles().constFirst(), u"host.example"_s);
        QCOMPARE(m_delegate->openings, 1);
    }

    void opensBeforeTheUserLosesPatienceAndTakesLateTitles()
    {
        m_delegate->answersAtOnce = false;
        QElapsedTimer since;
        since.start();
        m_popup->open({10, 10});
        QTRY_VERIFY(QApplication::activePopupWidget());
        QVERIFY2(since.elapsed() >= 100, qPrintable(QString::number(since.elapsed())));
        const auto opened = m_menu;
        install({{.title = u"Quit"_s, .action = "quit"}});
        opened->setTitle(0, u"late.example"_s);
        QCOMPARE(titles().constFirst(), u"late.example"_s);
        m_delegate->pending.front()();
        QCOMPARE(titles().size(), 5);
    }

    void titlesOfAMenuThatIsNotShownAnyMoreChangeNothing()
    {
        open();
        const auto former = m_menu;
        install({{.title = u"Quit"_s, .action = "quit"}});
        close();
        open();
        former->setTitle(4, u"late.example"_s); // there is no such row any more
        QCOMPARE(titles(), QStringList{u"Quit"_s});
    }

    void workThatOutlivesItsMenuDoesNoHarm()
    {
        m_delegate->answersAtOnce = false;
        m_popup->open({10, 10});
        m_popup.reset();
        m_menu->setTitle(0, u"late.example"_s);
        m_delegate->pending.front()();
        QVERIFY(!QApplication::activePopupWidget());
    }

    void aClickIsACommandOfTheMenuThatIsShown()
    {
        QMenu &window = open();
        install({});
        QTest::mouseClick(&window, Qt::LeftButton, {},
                          window.actionGeometry(window.actions()[3]).center());
        QTRY_COMPARE(m_delegate->chosen, QStringList{u"192.0.2.7/3"_s});
        QVERIFY(!window.isVisible());
    }

    void theHeadingCannotBeChosen()
    {
        QMenu &window = open();
        QTest::mouseClick(&window, Qt::LeftButton, {},
                          window.actionGeometry(window.actions()[2]).center());
        QCoreApplication::processEvents();
        QCOMPARE(m_delegate->chosen, QStringList());
    }

    void aThousandRowsAreScrolled()
    {
        std::vector<MenuItem> rows = someRows();
        for (int i = 1; i < 1000; ++i)
            rows.push_back({.title = u"10.0.%1.%2"_s.arg(i / 256).arg(i % 256),
                            .action = "copyAddress",
                            .tag = i});
        install(std::move(rows));
        QMenu &window = open();
        QVERIFY(window.height() <= window.screen()->geometry().height());
        QVERIFY(window.width() < 400); // one column
        QVERIFY(window.style()->styleHint(QStyle::SH_Menu_Scrollable, nullptr, &window));
        QTest::keyClick(&window, Qt::Key_Up); // the last row
        QTest::keyClick(&window, Qt::Key_Return);
        QTRY_COMPARE(m_delegate->chosen, QStringList{u"10.0.3.231/999"_s});
    }

    void isNeverEmpty()
    {
        install({});
        open();
        QCOMPARE(titles(), QStringList{u"Quillfen"_s});
        close();
        m_popup->install(nullptr);
        open();
        QCOMPARE(titles(), QStringList{u"Quillfen"_s});
    }

private:
    void install(std::vector<MenuItem> rows)
    {
        m_menu = std::make_shared<Menu>(*m_delegate, std::move(rows));
        m_popup->install(m_menu);
    }
    QMenu &open()
    {
        m_popup->open({10, 10});
        return window();
    }
    static QMenu &window()
    {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu)
            qFatal("no menu is open");
        return *menu;
    }
    static void close() { window().close(); }
    static QStringList titles()
    {
        QStringList found;
        for (const QAction *row : window().actions())
            found.append(row->isSeparator() ? u"-"_s : row->text());
        return found;
    }

    std::optional<Delegate> m_delegate;
    std::optional<PopupMenu> m_popup;
    std::shared_ptr<Menu> m_menu;
};

} // namespace quillfen::platform

QTEST_MAIN(quillfen::platform::PopupMenuTest)
#include "PopupMenuTest.moc"
