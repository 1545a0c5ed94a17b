// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/QuillfenPrefPane.h"

#include "unit/prefs/Desk.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPushButton>
#include <QScopeGuard>
#include <QSet>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

/// The controls that somebody can use, on all pages.
QList<QWidget *> controlsIn(const QWidget &window)
{
    QList<QWidget *> controls;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        if (widget->objectName().startsWith(u"m_")
            && (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus)
            controls += widget;
    }
    return controls;
}

QString mnemonicOf(const QString &text)
{
    return QKeySequence::mnemonic(text).toString();
}

/// The mnemonics of what is on @p page.
QStringList mnemonicsOn(const QWidget &page)
{
    QStringList found;
    for (const QLabel *label : page.findChildren<QLabel *>()) {
        if (label->buddy())
            found += mnemonicOf(label->text());
    }
    for (const QAbstractButton *button : page.findChildren<QAbstractButton *>())
        found += mnemonicOf(button->text());
    return found;
}

QString spoken(QWidget &widget, QAccessible::Text what)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(&widget);
    return interface ? interface->text(what) : QString();
}

} // namespace

/// The window as its user meets it.
class PrefPaneWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void thereAreThreePages()
    {
        Desk desk;
        auto &pages = desk.control<QTabWidget>(u"m_tabView"_s);
        QCOMPARE(desk.window().windowTitle(), u"Quillfen Preferences"_s);
        QCOMPARE(pages.count(), 3);
        QCOMPARE(pages.tabText(0).remove(u'&'), u"General"_s);
        QCOMPARE(pages.tabText(1).remove(u'&'), u"External address"_s);
        QCOMPARE(pages.tabText(2).remove(u'&'), u"Mail"_s);
        QCOMPARE(pages.currentIndex(), 0);
    }

    void everyControlHasANameAndATip()
    {
        Desk desk;
        const QList<QWidget *> controls = controlsIn(desk.window());
        QCOMPARE(controls.size(), 19);
        for (QWidget *control : controls) {
            const QByteArray name = control->objectName().toUtf8();
            if (qobject_cast<QTabWidget *>(control))
                continue; // its tabs speak for themselves
            QVERIFY2(!spoken(*control, QAccessible::Name).isEmpty(), name.constData());
            QVERIFY2(!spoken(*control, QAccessible::Name).contains(u'&'), name.constData());
            QVERIFY2(!spoken(*control, QAccessible::Description).isEmpty(), name.constData());
            QVERIFY2(!control->toolTip().isEmpty(), name.constData());
        }
    }

    void everyHintIsSpokenWithItsControl()
    {
        Desk desk;
        QStringList spokenOfAll;
        for (QWidget *control : controlsIn(desk.window()))
            spokenOfAll += spoken(*control, QAccessible::Description);
        int hints = 0;
        for (const QLabel *label : desk.window().findChildren<QLabel *>()) {
            if (!label->objectName().endsWith(u"Hint"))
                continue;
            ++hints;
            QCOMPARE(spokenOfAll.filter(label->text()).size(), 1);
        }
        QCOMPARE(hints, 8);
    }

    void everyFieldHasItsLabel()
    {
        Desk desk;
        QSet<const QWidget *> labelled;
        for (const QLabel *label : desk.window().findChildren<QLabel *>())
            labelled += label->buddy();
        for (const QLineEdit *field : desk.window().findChildren<QLineEdit *>())
            QVERIFY2(labelled.contains(field), qPrintable(field->objectName()));
        QVERIFY(labelled.contains(&desk.control<QComboBox>(u"m_authentication"_s)));
    }

    void everyKeyMeansOneThing()
    {
        Desk desk;
        auto &pages = desk.control<QTabWidget>(u"m_tabView"_s);
        QStringList everywhere{mnemonicOf(desk.control<QPushButton>(u"m_closeButton"_s).text())};
        for (int page = 0; page < pages.count(); ++page)
            everywhere += mnemonicOf(pages.tabText(page));
        for (int page = 0; page < pages.count(); ++page) {
            const QStringList keys = everywhere + mnemonicsOn(*pages.widget(page));
            QVERIFY(!keys.contains(u""_s));
            QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), keys.size());
        }
    }

    void theTabKeyVisitsAllFromTopToBottom_data()
    {
        QTest::addColumn<int>("page");
        QTest::addColumn<QStringList>("stops");
        QTest::newRow("General") << 0
                                 << QStringList(
                                        {u"m_titleIconOnlyButton"_s,
                                         u"m_includeMachineNameButton"_s,
                                         u"m_includeCurrentWirelessNetworkButton"_s,
                                         u"m_displayChangedIconWhenAddressChangeDetectedButton"_s,
                                         u"m_lastIPAddress"_s, u"m_lastExternalIPAddress"_s});
        QTest::newRow("External address")
            << 1
            << QStringList({u"m_includeExternalIPButton"_s,
                            u"m_emailChangesToExternalIPAddressButton"_s,
                            u"m_minutesIntervalTextField"_s});
        QTest::newRow("Mail") << 2
                              << QStringList({u"m_sendEmailNotificationsButton"_s,
                                              u"m_emailAddress"_s, u"m_mailServer"_s, u"m_port"_s,
                                              u"m_authentication"_s, u"m_username"_s,
                                              u"m_password"_s, u"m_testButton"_s});
    }
    void theTabKeyVisitsAllFromTopToBottom()
    {
        QFETCH(int, page);
        QFETCH(QStringList, stops);
        Desk desk;
        QVERIFY(desk.open());
        desk.control<QTabWidget>(u"m_tabView"_s).setCurrentIndex(page);
        auto &close = desk.control<QPushButton>(u"m_closeButton"_s);
        close.setFocus();
        QTest::keyClick(&close, Qt::Key_Tab); // to the tabs
        stops += u"m_closeButton"_s;
        int bottom = -1;
        for (const QString &stop : stops) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            const QWidget *here = QApplication::focusWidget();
            QCOMPARE(here->objectName(), stop);
            const int top = here->mapTo(&desk.window(), QPoint(0, 0)).y();
            QVERIFY(top > bottom);
            bottom = top;
        }
    }

    void theKeyboardAloneDoes()
    {
        Desk desk;
        QVERIFY(desk.open());
        QTest::keyClick(&desk.window(), Qt::Key_M, Qt::AltModifier); // Mail
        QTest::keyClick(&desk.window(), Qt::Key_E, Qt::AltModifier); // Send e-mail
        QTRY_COMPARE_WITH_TIMEOUT(desk.stored(u"SendEmailNotifications"_s), QJsonValue(true),
                                  kDeadline);
        QTest::keyClick(&desk.window(), Qt::Key_S, Qt::AltModifier); // Mail server
        QCOMPARE(QApplication::focusWidget(), &desk.field(u"m_mailServer"_s));
        QTest::keyClicks(QApplication::focusWidget(), u"smtp.example.org"_s);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QVERIFY(desk.window().isVisible()); // Enter ends no typing
        QCOMPARE(desk.sounds.takeHeard(), QStringList());
        QTest::keyClick(&desk.window(), Qt::Key_A, Qt::AltModifier); // Authentication
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
        QTest::keyClick(&desk.window(), Qt::Key_C, Qt::AltModifier); // Close
        QTRY_VERIFY_WITH_TIMEOUT(!desk.window().isVisible(), kDeadline);
        QCOMPARE(desk.stored(u"MailServer"_s), u"smtp.example.org"_s);
        QCOMPARE(desk.stored(u"Authentication"_s), QJsonValue(1));
    }

    void thePasswordIsHidden()
    {
        Desk desk(R"({"UserPassword": "secret"})");
        const QLineEdit &field = desk.field(u"m_password"_s);
        QCOMPARE(field.echoMode(), QLineEdit::Password);
        QVERIFY(field.inputMethodHints().testFlag(Qt::ImhHiddenText));
        QVERIFY(!spoken(desk.field(u"m_password"_s), QAccessible::Value).contains(u"secret"_s));
    }

    void theLastAddressesCanOnlyBeCopied()
    {
        Desk desk;
        QVERIFY(desk.open());
        for (const QString &name : {u"m_lastIPAddress"_s, u"m_lastExternalIPAddress"_s}) {
            QLineEdit &field = desk.field(name);
            const QString before = field.text();
            QVERIFY(!before.isEmpty());
            desk.type(name, u"x"_s);
            QCOMPARE(field.text(), before);
            field.selectAll();
            QCOMPARE(field.selectedText(), before);
        }
    }

    void aHintFollowsItsField()
    {
        Desk desk;
        QVERIFY(desk.open());
        const auto &hint = desk.control<QLabel>(u"m_intervalHint"_s);
        const QString usual = hint.text();
        desk.type(u"m_minutesIntervalTextField"_s, u"3"_s);
        QVERIFY(hint.text() != usual);
        QVERIFY(spoken(desk.field(u"m_minutesIntervalTextField"_s), QAccessible::Description)
                    .endsWith(hint.text()));
        desk.type(u"m_minutesIntervalTextField"_s, u"30"_s);
        QCOMPARE(hint.text(), usual);
        const auto &portHint = desk.control<QLabel>(u"m_portHint"_s);
        QVERIFY(portHint.text().contains(u"STARTTLS"_s));
        desk.preferences.setValue(u"useSSL"_s, false);
        desk.pane.windowDidBecomeKey();
        QVERIFY(portHint.text().contains(u"Not encrypted"_s));
    }

    void examplesCanBeReadInEachTheme_data()
    {
        struct Row {
            const char *name;
            QColor behind;
            QColor text;
            QColor examples;
            QColor shown;
        };
        const QColor faintWhite(255, 255, 255, 128);
        const Row rows[] = {
            {.name = "light",
             .behind = Qt::white,
             .text = Qt::black,
             .examples = Qt::gray,
             .shown = Qt::gray},
            {.name = "dark",
             .behind = Qt::black,
             .text = Qt::white,
             .examples = Qt::gray,
             .shown = Qt::gray},
            {.name = "dark, which says nothing of examples",
             .behind = QColor(27, 30, 32),
             .text = Qt::white,
             .examples = QColor(0, 0, 0, 128),
             .shown = faintWhite},
        };
        QTest::addColumn<QPalette>("theme");
        QTest::addColumn<QColor>("shown");
        for (const Row &row : rows) {
            QPalette theme;
            theme.setColor(QPalette::Base, row.behind);
            theme.setColor(QPalette::Text, row.text);
            theme.setColor(QPalette::PlaceholderText, row.examples);
            QTest::newRow(row.name) << theme << row.shown;
        }
    }
    void examplesCanBeReadInEachTheme()
    {
        QFETCH(QPalette, theme);
        QFETCH(QColor, shown);
        const QPalette before = QApplication::palette();
        const auto restore = qScopeGuard([&before] { QApplication::setPalette(before); });
        QApplication::setPalette(theme);
        Desk desk;
        const auto &recipients = desk.control<QLineEdit>(u"m_emailAddress"_s);
        QCOMPARE(recipients.palette().color(QPalette::PlaceholderText), shown);
    }

    void noTextIsCutOff()
    {
        Desk desk;
        QVERIFY(desk.open());
        desk.type(u"m_minutesIntervalTextField"_s, u"70000"_s); // the longest hint
        auto &pages = desk.control<QTabWidget>(u"m_tabView"_s);
        for (int page = 0; page < pages.count(); ++page) {
            pages.setCurrentIndex(page);
            for (const QLabel *label : pages.widget(page)->findChildren<QLabel *>()) {
                QTRY_VERIFY2_WITH_TIMEOUT(label->width() >= label->sizeHint().width(),
                                          qPrintable(label->text()), kDeadline);
            }
        }
    }
};

} // namespace quillfen::prefs

QTEST_MAIN(quillfen::prefs::PrefPaneWindowTest)
#include "PrefPaneWindowTest.moc"
