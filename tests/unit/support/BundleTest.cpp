// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Bundle.h"

#include <QObject>
#include <QRegularExpression>
#include <QString>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::support {

class BundleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hasTheProgramsName() { QCOMPARE(bundleName(), u"Quillfen"_s); }

    void hasAVersionOfThreeNumbers()
    {
        const QRegularExpression version(u"^[0-9]+\\.[0-9]+\\.[0-9]+$"_s);
        QVERIFY2(version.match(bundleShortVersionString()).hasMatch(),
                 qPrintable(bundleShortVersionString()));
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::BundleTest)
#include "BundleTest.moc"
