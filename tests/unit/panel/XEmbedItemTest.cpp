// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/XEmbedItem.h"
#include "platform/Menu.h"

#include <QObject>
#include <QTest>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

/// The item for old trays where there is no tray at all.
class XEmbedItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void remembersEverythingAtOnce()
    {
        XEmbedItem item;
        QCOMPARE(item.title(), QString());
        QCOMPARE(item.image(), std::nullopt);
        for (const bool appears : {true, false}) {
            if (appears)
                item.appear();
            else
                item.disappear();
            item.setTitle(u"192.0.2.7:attic"_s);
            item.setImage(u"QuillfenChange.tif"_s);
            QCOMPARE(item.title(), u"192.0.2.7:attic"_s);
            QCOMPARE(item.image(), std::optional(u"QuillfenChange.tif"_s));
            QCoreApplication::processEvents();
            item.setTitle({});
            item.setImage({});
            QCOMPARE(item.title(), QString());
            QCOMPARE(item.image(), std::nullopt);
        }
    }

    void comesAndGoesInAnyOrder()
    {
        XEmbedItem item;
        item.disappear();
        item.setMenu(nullptr);
        item.appear();
        item.appear();
        item.setTitle(u"192.0.2.7"_s);
        item.disappear(); // before its icon was drawn
        QCoreApplication::processEvents();
        item.appear();
        QCoreApplication::processEvents();
        item.setMenu(nullptr);
        QCOMPARE(item.title(), u"192.0.2.7"_s);
    }
};

} // namespace quillfen::platform

QTEST_MAIN(quillfen::platform::XEmbedItemTest)
#include "XEmbedItemTest.moc"
