// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/AboutWindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

QWidgetList openWindows()
{
    QWidgetList open;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible())
            open += window;
    }
    return open;
}

QStringList textsIn(const QWidget &window)
{
    QStringList texts;
    for (const QLabel *label : window.findChildren<QLabel *>()) {
        if (!label->text().isEmpty())
            texts += label->text();
    }
    return texts;
}

} // namespace

class AboutWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QImage red(16, 16, QImage::Format_RGB32);
        red.fill(Qt::red);
        QVERIFY(red.save(m_facts.iconPath));
    }

    void cleanup() { QCOMPARE(openWindows(), QWidgetList()); }

    void itTellsWhatItWasTold()
    {
        AboutWindow about(m_facts);
        about.orderFront();
        const QWidgetList open = openWindows();
        QCOMPARE(open.size(), 1);
        const QWidget &window = *open.constFirst();
        QCOMPARE(window.windowTitle(), u"About Quillfen"_s);
        QCOMPARE(
            textsIn(window),
            QStringList({u"Quillfen"_s, u"Version 1.2.3"_s, m_facts.copyright, m_facts.license}));
        QVERIFY(!window.isModal());
        QTRY_VERIFY(window.isActiveWindow());
        QCOMPARE(window.windowIcon().pixmap(16, 16).toImage().pixelColor(8, 8), QColor(Qt::red));
    }

    void thePictureIsShown()
    {
        AboutWindow about(m_facts);
        about.orderFront();
        const QImage seen = openWindows().constFirst()->grab().toImage();
        int red = 0;
        for (int y = 0; y < seen.height(); ++y) {
            for (int x = 0; x < seen.width(); ++x)
                red += seen.pixelColor(x, y) == QColor(Qt::red) ? 1 : 0;
        }
        QCOMPARE_GE(red, 16 * 16);
    }

    void thereIsOnlyOne()
    {
        AboutWindow about(m_facts);
        about.orderFront();
        QWidget *window = openWindows().constFirst();
        window->showMinimized();
        about.orderFront();
        QCOMPARE(openWindows(), QWidgetList({window}));
        QVERIFY(!window->isMinimized());
        QTRY_VERIFY(window->isActiveWindow());
    }

    void aKeyClosesIt_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("Escape") << int(Qt::Key_Escape);
        QTest::newRow("Enter") << int(Qt::Key_Return);
        QTest::newRow("Space") << int(Qt::Key_Space);
    }
    void aKeyClosesIt()
    {
        QFETCH(int, key);
        AboutWindow about(m_facts);
        about.orderFront();
        QPointer<QWidget> window = openWindows().constFirst();
        QTRY_VERIFY(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key(key));
        QTRY_VERIFY(!window); // and takes no memory any more
        about.orderFront();
        QCOMPARE(openWindows().size(), 1);
    }

    void itIsReadableInTheDark()
    {
        const QPalette light = QApplication::palette();
        QPalette dark = light;
        dark.setColor(QPalette::Window, Qt::black);
        dark.setColor(QPalette::WindowText, Qt::white);
        QApplication::setPalette(dark);
        {
            AboutWindow about(m_facts);
            about.orderFront();
            QWidget *window = openWindows().constFirst();
            for (const QLabel *label : window->findChildren<QLabel *>()) {
                if (label->text().isEmpty())
                    continue;
                const QImage seen = window->grab(label->geometry()).toImage();
                const auto [darkest, brightest] = brightness(seen);
                QVERIFY2(darkest < 20 && brightest > 200, qPrintable(label->text()));
            }
        }
        QApplication::setPalette(light);
    }

private:
    static std::pair<int, int> brightness(const QImage &image)
    {
        std::pair<int, int> range{255, 0};
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const int gray = qGray(image.pixel(x, y));
                range = {std::min(range.first, gray), std::max(range.second, gray)};
            }
        }
        return range;
    }

    QTemporaryDir m_folder;
    const AboutFacts m_facts{.name = u"Quillfen"_s,
                             .version = u"1.2.3"_s,
                             .copyright = u"Copyright © 2026 A & B <Limited>"_s,
                             .license = u"You may pass it on under the terms of a licence."_s,
                             .iconPath = m_folder.filePath(u"icon.png"_s)};
};

} // namespace quillfen::platform

QTEST_MAIN(quillfen::platform::AboutWindowTest)
#include "AboutWindowTest.moc"
