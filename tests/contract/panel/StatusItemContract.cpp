// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Menu.h"
#include "platform/StatusItem.h"
#include "platform/linux/panel/BusTypes.h"
#include "platform/linux/panel/StatusNotifierBar.h"
#include "unit/desktop/PrivateBus.h"
#include "unit/panel/PanelHost.h"
#include "world/FakeConsole.h"
#include "world/FakeStatusBar.h"

#include <QObject>
#include <QTest>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Sets the first row's title at each opening.
struct Delegate : MenuDelegate {
    bool validateMenuItem(const MenuItem &item) const override { return !item.action.empty(); }
    void menuNeedsUpdate(std::shared_ptr<Menu> menu, std::function<void()> done) override
    {
        menu->setTitle(0, u"opening %1"_s.arg(++openings));
        if (onOpening)
            onOpening();
        done();
    }
    void sendAction(const MenuItem &item) override { chosen.append(item.title); }

    int openings = 0;
    QStringList chosen;
    std::function<void()> onOpening;
};

std::vector<MenuItem> twoRows(const QString &second)
{
    return {{.title = u"placeholder"_s, .action = "name"}, {.title = second, .action = "second"}};
}

/// A status bar and someone who looks at its panel.
class Desk {
public:
    virtual ~Desk() = default;
    virtual StatusBar &bar() = 0;
    virtual bool panelIsThere() = 0;
    virtual QString titleInPanel() = 0;
    /// Opens the menu, and reads its titles once they are those of this opening.
    virtual QStringList open() = 0;
    /// Chooses a row of the menu that was opened.
    virtual void choose(const QString &title) = 0;
};

class FakeDesk : public Desk {
public:
    StatusBar &bar() override { return m_bar; }
    bool panelIsThere() override { return m_bar.hasItem(); }
    QString titleInPanel() override { return m_bar.panel().title(); }
    QStringList open() override
    {
        m_bar.panel().open([] {});
        return m_bar.panel().rows();
    }
    void choose(const QString &title) override { m_bar.panel().choose(title); }

private:
    world::FakeStatusBar m_bar;
};

class BusDesk : public Desk {
public:
    explicit BusDesk(PrivateBus &bus) : m_host(bus.connection()) { m_host.appear(); }
    StatusBar &bar() override { return m_bar; }
    bool panelIsThere() override { return !m_host.items().empty(); }
    QString titleInPanel() override { return m_host.readAll()[u"XAyatanaLabel"_s].toString(); }
    QStringList open() override
    {
        call(u"AboutToShow"_s, {0});
        QStringList titles;
        for (const MenuNode &row : rows())
            titles.append(row.properties[u"label"_s].toString());
        return titles;
    }
    void choose(const QString &title) override
    {
        for (const MenuNode &row : rows())
            if (row.properties[u"label"_s] == title)
                call(u"Event"_s,
                     {row.id, u"clicked"_s, QVariant::fromValue(QDBusVariant(u""_s)), 0u});
    }

private:
    QDBusMessage call(const QString &method, const QVariantList &arguments) const
    {
        return m_host.call(m_host.items().back().path + u"/Menu"_s, PanelHost::menuInterface(),
                           method, arguments);
    }
    QList<MenuNode> rows() const
    {
        const QDBusMessage answer = call(u"GetLayout"_s, {0, -1, QStringList()});
        return qdbus_cast<MenuNode>(answer.arguments().value(1)).children;
    }

    world::FakeConsole m_console;
    StatusNotifierBar m_bar{m_console};
    PanelHost m_host;
};

} // namespace

/// What a status item promises, whoever implements it.
class StatusItemContract : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("real");
        QTest::newRow("fake") << false;
        QTest::newRow("session bus") << true;
    }
    void initTestCase() { qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toLatin1()); }
    void init()
    {
        QFETCH_GLOBAL(bool, real);
        if (real)
            m_desk = std::make_unique<BusDesk>(m_bus);
        else
            m_desk = std::make_unique<FakeDesk>();
        m_delegate.emplace();
        m_item = m_desk->bar().statusItemWithLength(kVariableStatusItemLength);
    }
    void cleanup()
    {
        m_item.reset();
        m_desk.reset();
    }

    void beginsEmpty()
    {
        QCOMPARE(m_item->title(), QString());
        QCOMPARE(m_item->image(), std::nullopt);
    }

    void answersAtOnceWhatWasSet()
    {
        m_item->setTitle(u"192.0.2.7"_s);
        m_item->setImage(u"QuillfenChange.tif"_s);
        QCOMPARE(m_item->title(), u"192.0.2.7"_s);
        QCOMPARE(m_item->image(), std::optional(u"QuillfenChange.tif"_s));
        m_item->setTitle({});
        m_item->setImage({});
        QCOMPARE(m_item->title(), QString());
        QCOMPARE(m_item->image(), std::nullopt);
    }

    void thePanelShowsTheTitle()
    {
        m_item->setTitle(u"192.0.2.7"_s);
        QTRY_VERIFY(m_desk->panelIsThere());
        QTRY_COMPARE(m_desk->titleInPanel(), u"192.0.2.7"_s);
        m_item->setTitle(u"192.0.2.8"_s);
        QTRY_COMPARE(m_desk->titleInPanel(), u"192.0.2.8"_s);
    }

    void whatWasSetCanBeShownAtOnce()
    {
        m_item->setTitle(u"192.0.2.7"_s);
        m_item->displayIfNeeded(); // with no panel yet
        QTRY_VERIFY(m_desk->panelIsThere());
        QTRY_COMPARE(m_desk->titleInPanel(), u"192.0.2.7"_s);
        m_item->setTitle(u"192.0.2.8"_s);
        m_item->displayIfNeeded();
        QCOMPARE(m_desk->titleInPanel(), u"192.0.2.8"_s);
    }

    void anOpenMenuStaysAndTheNextOpeningShowsTheNewOne()
    {
        m_item->setMenu(std::make_shared<Menu>(*m_delegate, twoRows(u"old"_s)));
        QTRY_VERIFY(m_desk->panelIsThere());
        m_delegate->onOpening = [this] {
            m_item->setMenu(std::make_shared<Menu>(*m_delegate, twoRows(u"new"_s)));
        };
        QCOMPARE(m_desk->open(), (QStringList{u"opening 1"_s, u"old"_s}));
        m_desk->choose(u"old"_s);
        QTRY_COMPARE(m_delegate->chosen, QStringList{u"old"_s});
        QCOMPARE(m_desk->open(), (QStringList{u"opening 2"_s, u"new"_s}));
    }

private:
    PrivateBus m_bus;
    std::unique_ptr<Desk> m_desk;
    std::optional<Delegate> m_delegate;
    std::unique_ptr<StatusItem> m_item;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::StatusItemContract)
#include "StatusItemContract.moc"
