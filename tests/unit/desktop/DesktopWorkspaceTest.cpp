// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/DesktopWorkspace.h"
#include "world/FakeConsole.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

/// The desktop's applications for files and web pages, as far as Qt sees them.
class Applications : public QObject {
    Q_OBJECT

public:
    Applications()
    {
        for (const QString &scheme : kSchemes)
            QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~Applications() override
    {
        for (const QString &scheme : kSchemes)
            QDesktopServices::unsetUrlHandler(scheme);
    }
    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl &url) { opened += url; }

private:
    inline static const QStringList kSchemes{u"file"_s, u"http"_s, u"https"_s};
};

class DesktopWorkspaceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFileIsOpenedUnderItsOwnName()
    {
        const Applications applications;
        DesktopWorkspace workspace(m_console);
        const QStringList paths = {u"/tmp/Corvane Software/Quillfen.log"_s, u"/tmp/50% #1?é.log"_s};
        QStringList opened;
        for (const QString &path : paths) {
            workspace.openFile(path);
            opened += applications.opened.constLast().toLocalFile();
        }
        QCOMPARE(opened, paths);
        QCOMPARE(m_console.lines(), QStringList());
    }

    void aWebPageIsOpenedUnderItsAddress()
    {
        const Applications applications;
        DesktopWorkspace workspace(m_console);
        const QList<QUrl> pages = {QUrl(u"http://www.example/a%20page?x=1&y=%26#top"_s),
                                   QUrl(u"https://store.example/quillfen"_s)};
        for (const QUrl &page : pages)
            workspace.openURL(page);
        QCOMPARE(applications.opened, pages);
        QCOMPARE(m_console.lines(), QStringList());
    }

    void withoutADisplayTheConsoleSaysSo()
    {
        QCOMPARE(QGuiApplication::platformName(), u"offscreen"_s);
        DesktopWorkspace workspace(m_console);
        workspace.openFile(u"/tmp/Quillfen.log"_s);
        workspace.openURL(QUrl(u"http://www.example/"_s));
        QCOMPARE(m_console.lines(),
                 QStringList({u"There is nothing here that opens /tmp/Quillfen.log."_s,
                              u"There is nothing here that opens http://www.example/."_s}));
    }

private:
    world::FakeConsole m_console;
};

} // namespace quillfen::platform

QTEST_MAIN(quillfen::platform::DesktopWorkspaceTest)
#include "DesktopWorkspaceTest.moc"
