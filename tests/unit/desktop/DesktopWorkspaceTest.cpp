// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/DesktopWorkspace.h"
#include "world/FakeConsole.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

/// The desktop's application for files, as far as Qt sees it.
class FileViewer : public QObject {
    Q_OBJECT

public:
    FileViewer() { QDesktopServices::setUrlHandler(u"file"_s, this, "open"); }
    ~FileViewer() override { QDesktopServices::unsetUrlHandler(u"file"_s); }
    QStringList opened;

public Q_SLOTS:
    void open(const QUrl &url) { opened += url.toLocalFile(); }
};

class DesktopWorkspaceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFileIsOpenedUnderItsOwnName()
    {
        FileViewer viewer;
        DesktopWorkspace workspace(m_console);
        const QStringList paths = {u"/tmp/Corvane Software/Quillfen.log"_s, u"/tmp/50% #1?é.log"_s};
        for (const QString &path : paths)
            workspace.openFile(path);
        QCOMPARE(viewer.opened, paths);
        QCOMPARE(m_console.lines(), QStringList());
    }

    void withoutADisplayTheConsoleSaysSo()
    {
        QCOMPARE(QGuiApplication::platformName(), u"offscreen"_s);
        DesktopWorkspace workspace(m_console);
        workspace.openFile(u"/tmp/Quillfen.log"_s);
        QCOMPARE(m_console.lines().size(), 1);
        QVERIFY(m_console.lines().constFirst().contains(u"/tmp/Quillfen.log"_s));
    }

private:
    world::FakeConsole m_console;
};

} // namespace quillfen::platform

QTEST_MAIN(quillfen::platform::DesktopWorkspaceTest)
#include "DesktopWorkspaceTest.moc"
