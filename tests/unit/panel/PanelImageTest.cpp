// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/PanelImage.h"

#include <QFile>
#include <QObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// How many pixels of @p pixmap are more than half opaque.
qsizetype drawn(const Pixmap &pixmap)
{
    qsizetype count = 0;
    for (qsizetype i = 0; i < pixmap.pixels.size(); i += 4)
        count += uchar(pixmap.pixels[i]) > 127;
    return count;
}

} // namespace

class PanelImageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyImageIsDrawnInEverySizeAndNamedInTheTheme_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString &name : {u"QuillfenSmall.tif"_s, u"QuillfenChange.tif"_s, QString()})
            QTest::newRow(qPrintable(name)) << name;
    }
    void everyImageIsDrawnInEverySizeAndNamedInTheTheme()
    {
        QFETCH(QString, name);
        const PanelImage image = panelImage(name.isEmpty() ? std::nullopt : std::optional(name));
        QList<int> sizes;
        for (const Pixmap &pixmap : pixmaps(image)) {
            QCOMPARE(pixmap.width, pixmap.height);
            QCOMPARE(pixmap.pixels.size(), qsizetype(4) * pixmap.width * pixmap.height);
            const double share = double(drawn(pixmap)) / (pixmap.width * pixmap.height);
            QVERIFY2(share > 0.2 && share < 0.7, qPrintable(QString::number(share)));
            sizes.append(pixmap.width);
        }
        QCOMPARE(sizes, (QList<int>{16, 22, 24, 32, 48, 64, 96}));
        const QString file =
            iconThemePath() + u"/hicolor/symbolic/apps/"_s + image.iconName + u".svg"_s;
        QVERIFY2(QFile::exists(file), qPrintable(file));
        QVERIFY(!image.description.isEmpty());
    }

    void theChangeImageHasAColourOfItsOwn()
    {
        const auto colourful = [](const QString &name) {
            const Pixmap pixmap = pixmaps(panelImage(name)).front();
            qsizetype count = 0;
            for (qsizetype i = 0; i < pixmap.pixels.size(); i += 4)
                count += uchar(pixmap.pixels[i]) > 127
                    && uchar(pixmap.pixels[i + 1]) - uchar(pixmap.pixels[i + 3]) > 100;
            return count;
        };
        QVERIFY(colourful(u"QuillfenChange.tif"_s) > 20);
        QCOMPARE(colourful(u"QuillfenSmall.tif"_s), 0);
    }

    void anUnknownNameGivesTheProgramsOwnIcon()
    {
        QCOMPARE(panelImage(u"Elsewhere.tif"_s).iconName, panelImage(std::nullopt).iconName);
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::PanelImageTest)
#include "PanelImageTest.moc"
