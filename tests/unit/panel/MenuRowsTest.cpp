// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/MenuRows.h"

#include <QObject>
#include <QSet>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Lets rows with an action be chosen.
struct Delegate : MenuDelegate {
    bool validateMenuItem(const MenuItem &item) const override { return !item.action.empty(); }
    void menuNeedsUpdate(std::shared_ptr<Menu>, std::function<void()> done) override { done(); }
    void sendAction(const MenuItem &) override { }
};

/// The rows of a menu of @p count addresses between two fixed rows and their lines.
std::vector<MenuItem> withAddresses(int count)
{
    std::vector<MenuItem> items{{.title = u"DNS name"_s, .action = "copyName"},
                                {.title = {}, .separator = true}};
    for (int i = 0; i < count; ++i)
        items.push_back({.title = u"192.0.2.%1"_s.arg(i), .action = "copyAddress", .tag = i});
    items.push_back({.title = {}, .separator = true});
    items.push_back({.title = u"Copy DNS Name"_s, .action = "copyName"});
    items.push_back({.title = u"Quit"_s, .action = "quit"});
    return items;
}

QList<int> ids(const MenuRows &rows)
{
    QList<int> all;
    for (const MenuRow &row : rows.all())
        all.append(row.id);
    return all;
}

} // namespace

class MenuRowsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rowsKeepTheirIdsWhileTheySurvive()
    {
        MenuRows rows;
        const Menu three(m_delegate, withAddresses(3));
        QVERIFY(rows.take(&three).layout);
        const QList<int> before = ids(rows);
        QCOMPARE(QSet<int>(before.begin(), before.end()).size(), 8);
        QVERIFY(*std::ranges::min_element(before) > 0);

        const Menu again(m_delegate, withAddresses(3));
        QVERIFY(!rows.take(&again).layout);
        QCOMPARE(ids(rows), before);

        const Menu one(m_delegate, withAddresses(1));
        QVERIFY(rows.take(&one).layout);
        QCOMPARE(ids(rows),
                 (QList<int>{before[0], before[1], before[2], before[5], before[6], before[7]}));
    }

    void anIdNeverComesBackForAnotherRow()
    {
        MenuRows rows;
        const Menu three(m_delegate, withAddresses(3));
        const Menu none(m_delegate, withAddresses(0));
        rows.take(&three);
        const QList<int> before = ids(rows);
        rows.take(&none);
        rows.take(&three);
        const QList<int> after = ids(rows);
        for (int i : {2, 3, 4})
            QVERIFY(!before.contains(after[i]));
        for (int i : {0, 1, 5, 6, 7})
            QCOMPARE(after[i], before[i]);
    }

    void tellsWhichSurvivorsLookOtherwise()
    {
        MenuRows rows;
        std::vector<MenuItem> items = withAddresses(2);
        const Menu before(m_delegate, items);
        rows.take(&before);
        items[2].title = u"198.51.100.1"_s;
        const Menu after(m_delegate, items);
        const MenuRows::Change change = rows.take(&after);
        QVERIFY(!change.layout);
        QCOMPARE(change.before.size(), std::size_t(1));
        QCOMPARE(change.before[0].label, u"192.0.2.0"_s);
        QCOMPARE(rows.all()[*rows.indexOf(change.before[0].id)].label, u"198.51.100.1"_s);
    }

    void isNeverEmpty()
    {
        MenuRows rows;
        rows.take(nullptr);
        QCOMPARE(rows.all().size(), std::size_t(1));
        QVERIFY(!rows.all()[0].enabled);
        QVERIFY(!rows.all()[0].label.isEmpty());
        const Menu empty(m_delegate, {});
        rows.take(&empty);
        QCOMPARE(rows.all().size(), std::size_t(1));
    }

    void everyPropertyIsExplicit()
    {
        MenuRows rows;
        const Menu menu(m_delegate,
                        {{.title = u"a_b"_s, .action = "go", .toolTip = u"a tip"_s},
                         {.title = u"heading"_s},
                         {.title = {}, .separator = true}});
        rows.take(&menu);
        QCOMPARE(rows.all()[0].properties(),
                 (QVariantMap{{u"type"_s, u"standard"_s},
                              {u"label"_s, u"a__b"_s},
                              {u"enabled"_s, true},
                              {u"visible"_s, true},
                              {u"accessible-desc"_s, u"a tip"_s},
                              {u"x-tooltip"_s, u"a tip"_s}}));
        QCOMPARE(rows.all()[1].properties(),
                 (QVariantMap{{u"type"_s, u"standard"_s},
                              {u"label"_s, u"heading"_s},
                              {u"enabled"_s, false},
                              {u"visible"_s, true}}));
        QCOMPARE(rows.all()[2].properties(),
                 (QVariantMap{
                     {u"type"_s, u"separator"_s}, {u"enabled"_s, false}, {u"visible"_s, true}}));
    }

private:
    Delegate m_delegate;
};

} // namespace quillfen::platform

QTEST_APPLESS_MAIN(quillfen::platform::MenuRowsTest)
#include "MenuRowsTest.moc"
