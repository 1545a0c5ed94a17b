// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/Translations.h"
#include "prefs/FieldHints.h"
#include "unit/prefs/Desk.h"

#include <QAbstractButton>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QSet>
#include <QTabWidget>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

/// The texts on @p page and in its controls, in an order that is the same in every language.
QStringList textsOn(const QWidget &page)
{
    QStringList texts;
    for (const QWidget *widget : page.findChildren<QWidget *>()) {
        texts << widget->toolTip() << widget->accessibleName();
        if (const auto *label = qobject_cast<const QLabel *>(widget))
            texts << label->text();
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
            texts << button->text();
    }
    return texts;
}

/// What a person sees at all times: the window's name, its pages' names, its lowest button.
QStringList textsAround(Desk &desk)
{
    const auto &pages = desk.control<QTabWidget>(u"m_tabView"_s);
    QStringList texts{desk.window().windowTitle(),
                      desk.control<QPushButton>(u"m_closeButton"_s).text(),
                      desk.control<QPushButton>(u"m_closeButton"_s).toolTip()};
    for (int page = 0; page < pages.count(); ++page)
        texts += pages.tabText(page);
    return texts;
}

QStringList everyText(Desk &desk)
{
    QStringList texts = textsAround(desk);
    const auto &pages = desk.control<QTabWidget>(u"m_tabView"_s);
    for (int page = 0; page < pages.count(); ++page)
        texts += textsOn(*pages.widget(page));
    return texts;
}

/// The letters that choose something together with Alt.
QStringList mnemonicsIn(const QStringList &texts)
{
    QStringList keys;
    for (const QString &text : texts) {
        if (const QString key = QKeySequence::mnemonic(text).toString(); !key.isEmpty())
            keys += key;
    }
    return keys;
}

void speak(const QStringList &languages)
{
    platform::installTranslations(*QCoreApplication::instance(), languages);
}

} // namespace

/// The window in each language that we have words for.
class TranslationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        for (QTranslator *translator : QCoreApplication::instance()->findChildren<QTranslator *>())
            delete translator;
    }

    void theFirstLanguageThatWeHaveCounts_data()
    {
        QTest::addColumn<QStringList>("languages");
        QTest::addColumn<QString>("title");
        const QString english = u"Quillfen Preferences"_s;
        const QString german = u"Quillfen \u2013 Einstellungen"_s;
        const QString spanish = u"Preferencias de Quillfen"_s;
        QTest::newRow("German") << QStringList{u"de"_s} << german;
        QTest::newRow("German in Austria") << QStringList{u"de-AT"_s} << german;
        QTest::newRow("Spanish") << QStringList{u"es"_s} << spanish;
        QTest::newRow("Spanish in Mexico, then English")
            << QStringList{u"es-MX"_s, u"en"_s} << spanish;
        QTest::newRow("English, then German") << QStringList{u"en-GB"_s, u"de"_s} << english;
        QTest::newRow("one that we have not") << QStringList{u"fr"_s} << english;
        QTest::newRow("one that we have not, then Spanish")
            << QStringList{u"fr"_s, u"es"_s} << spanish;
        QTest::newRow("none that there is") << QStringList{u"../../x"_s, u""_s} << english;
    }
    void theFirstLanguageThatWeHaveCounts()
    {
        QFETCH(QStringList, languages);
        QFETCH(QString, title);
        speak(languages);
        Desk desk;
        QCOMPARE(desk.window().windowTitle(), title);
    }

    void everyTextIsTranslated_data()
    {
        QTest::addColumn<QSet<QString>>("alike");
        const QSet<QString> alikeInAll{u""_s, u"6"_s};
        QTest::newRow("de") << alikeInAll + QSet<QString>{u"Port"_s, u"&Port:"_s, u"&Mail"_s};
        QTest::newRow("es") << alikeInAll + QSet<QString>{u"&General"_s};
    }
    void everyTextIsTranslated()
    {
        QFETCH(QSet<QString>, alike);
        Desk english;
        const QStringList before = everyText(english);
        speak({QString::fromLatin1(QTest::currentDataTag())});
        Desk desk;
        const QStringList now = everyText(desk);
        QCOMPARE(now.size(), before.size());
        QVERIFY(before.size() > 100);
        QStringList untranslated;
        for (qsizetype i = 0; i < now.size(); ++i) {
            if (now[i] == before[i] && !alike.contains(now[i]))
                untranslated += now[i];
        }
        QCOMPARE(untranslated, QStringList());
    }

    void eachLetterChoosesOneThingOnAPage_data()
    {
        QTest::addColumn<bool>("there");
        QTest::newRow("de") << true;
        QTest::newRow("es") << true;
    }
    void eachLetterChoosesOneThingOnAPage()
    {
        speak({QString::fromLatin1(QTest::currentDataTag())});
        Desk desk;
        const auto &pages = desk.control<QTabWidget>(u"m_tabView"_s);
        const QStringList around = mnemonicsIn(textsAround(desk));
        QCOMPARE(around.size(), pages.count() + 1);
        for (int page = 0; page < pages.count(); ++page) {
            const QStringList keys = around + mnemonicsIn(textsOn(*pages.widget(page)));
            QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), keys.size());
        }
    }

    void theHintsSpeakItToo_data()
    {
        QTest::addColumn<QString>("interval");
        QTest::addColumn<QString>("port");
        QTest::newRow("de") << u"Gespeichert als 4464. Mehr als 546 l\u00e4uft \u00fcber: "
                               "Pr\u00fcfung alle 94 min 56 s."_s
                            << u"Gelesen als Port 465. Verschl\u00fcsselt vom ersten Byte an."_s;
        QTest::newRow("es") << u"Se guarda como 4464. M\u00e1s de 546 se desborda: "
                               "comprobaci\u00f3n cada 94 min 56 s."_s
                            << u"Se lee como puerto 465. Cifrado desde el primer byte."_s;
    }
    void theHintsSpeakItToo()
    {
        QFETCH(QString, interval);
        QFETCH(QString, port);
        speak({QString::fromLatin1(QTest::currentDataTag())});
        QCOMPARE(intervalHint(u"70000"_s), interval);
        QCOMPARE(portHint(u"66001"_s, true), port);
    }
};

} // namespace quillfen::prefs

QTEST_MAIN(quillfen::prefs::TranslationsTest)
#include "TranslationsTest.moc"
