// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/commands/AutostartFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

const QString kName = u"com.corvane.Quillfen"_s;

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
        && file.write(bytes) == bytes.size();
}

mode_t modeOf(const QString &path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

} // namespace

class AutostartFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_home->filePath(u"config"_s)));
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(m_home->filePath(u"system"_s)));
    }

    void namesTheProgramAsTheSpecificationWantsIt_data()
    {
        struct Row {
            const char *name;
            QString program;
            QByteArray exec;
            QByteArray tryExec;
        };
        // Two layers: the quotes of a command line, and in them the escapes of a text.
        const Row rows[] = {
            {"a plain path", u"/usr/bin/quillfen"_s, "/usr/bin/quillfen", "/usr/bin/quillfen"},
            {"a blank", u"/opt/my apps/q"_s, "\"/opt/my apps/q\"", "/opt/my apps/q"},
            {"a percent sign", u"/opt/100%/q"_s, "/opt/100%%/q", "/opt/100%/q"},
            {"a quotation mark", u"/opt/\"x\"/q"_s, "\"/opt/\\\\\"x\\\\\"/q\"", "/opt/\"x\"/q"},
            {"a dollar sign", u"/opt/$HOME/q"_s, "\"/opt/\\\\$HOME/q\"", "/opt/$HOME/q"},
            {"a backtick", u"/opt/`id`/q"_s, "\"/opt/\\\\`id\\\\`/q\"", "/opt/`id`/q"},
            {"a backslash", u"/opt/a\\b/q"_s, "\"/opt/a\\\\\\\\b/q\"", "/opt/a\\\\b/q"},
            {"an apostrophe", u"/opt/it's/q"_s, "\"/opt/it's/q\"", "/opt/it's/q"},
            {"what a shell would take", u"/opt/a;b|c&d>e*?#(f)/q"_s, "\"/opt/a;b|c&d>e*?#(f)/q\"",
             "/opt/a;b|c&d>e*?#(f)/q"},
            {"a line end", u"/opt/a\nExec=rm/q"_s, "\"/opt/a\\nExec=rm/q\"", "/opt/a\\nExec=rm/q"},
            {"other letters", u"/home/jürgen/q"_s, "/home/jürgen/q", "/home/jürgen/q"},
        };
        QTest::addColumn<QString>("program");
        QTest::addColumn<QByteArray>("exec");
        QTest::addColumn<QByteArray>("tryExec");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.program << row.exec << row.tryExec;
    }
    void namesTheProgramAsTheSpecificationWantsIt()
    {
        QFETCH(QString, program);
        QFETCH(QByteArray, exec);
        QFETCH(QByteArray, tryExec);
        const QByteArrayList lines = autostartEntry(program, false).split('\n');
        QCOMPARE(lines.first(), "[Desktop Entry]");
        QVERIFY2(lines.contains("Exec=" + exec), lines.join('\n').constData());
        QVERIFY2(lines.contains("TryExec=" + tryExec), lines.join('\n').constData());
        QVERIFY(!lines.contains("Hidden=true"));
        QVERIFY(autostartEntry(program, true).endsWith("\nHidden=true\n"));
    }

    void onWritesAFileForThisProgram()
    {
        QCOMPARE(AutostartFile(kName).set(true), std::nullopt);
        QCOMPARE(contents(path()), autostartEntry(QCoreApplication::applicationFilePath(), false));
        QCOMPARE(modeOf(path()), mode_t(0644));
        QCOMPARE(modeOf(m_home->filePath(u"config"_s)), mode_t(0700));
        QCOMPARE(
            QDir(m_home->filePath(u"config/autostart"_s)).entryList(QDir::Files | QDir::Hidden),
            QStringList{u"com.corvane.Quillfen.desktop"_s});
    }

    void onReplacesWhatIsThere()
    {
        QVERIFY(write(path(), "[Desktop Entry]\nHidden=true\n"));
        QVERIFY(QFile::setPermissions(path(), QFile::ReadOwner | QFile::WriteOwner));
        QCOMPARE(AutostartFile(kName).set(true), std::nullopt);
        QCOMPARE(contents(path()), autostartEntry(QCoreApplication::applicationFilePath(), false));
        QCOMPARE(modeOf(path()), mode_t(0644));
    }

    void offRemovesTheFile()
    {
        QCOMPARE(AutostartFile(kName).set(true), std::nullopt);
        QCOMPARE(AutostartFile(kName).set(false), std::nullopt);
        QVERIFY(!QFileInfo::exists(path()));
        QCOMPARE(AutostartFile(kName).set(false), std::nullopt);
    }

    void offRemovesALinkThatLeadsNowhere()
    {
        QVERIFY(QDir().mkpath(m_home->filePath(u"config/autostart"_s)));
        QVERIFY(QFile::link(u"/nonexistent/file"_s, path()));
        QCOMPARE(AutostartFile(kName).set(false), std::nullopt);
        QVERIFY(!QFileInfo(path()).isSymLink());
    }

    void offHidesTheSystemsFile()
    {
        QVERIFY(write(m_home->filePath(u"system/autostart/com.corvane.Quillfen.desktop"_s),
                      "[Desktop Entry]\n"));
        QCOMPARE(AutostartFile(kName).set(false), std::nullopt);
        QCOMPARE(contents(path()), autostartEntry(QCoreApplication::applicationFilePath(), true));
        QCOMPARE(AutostartFile(kName).set(true), std::nullopt);
        QVERIFY(!contents(path()).contains("Hidden"));
    }

    void offRemovesTheFileWhereTheSystemsIsHidden()
    {
        QVERIFY(write(m_home->filePath(u"system/autostart/com.corvane.Quillfen.desktop"_s),
                      "[Desktop Entry]\nHidden = true\nType=Application\n"));
        QCOMPARE(AutostartFile(kName).set(true), std::nullopt);
        QCOMPARE(AutostartFile(kName).set(false), std::nullopt);
        QVERIFY(!QFileInfo::exists(path()));
    }

    void theFirstOfTheSystemsFilesCounts()
    {
        qputenv("XDG_CONFIG_DIRS",
                QFile::encodeName(m_home->filePath(u"a"_s) + u':' + m_home->filePath(u"b"_s)));
        QVERIFY(write(m_home->filePath(u"a/autostart/com.corvane.Quillfen.desktop"_s),
                      "[Desktop Entry]\nName=x\n"));
        QVERIFY(write(m_home->filePath(u"b/autostart/com.corvane.Quillfen.desktop"_s),
                      "[Desktop Entry]\nHidden=true\n"));
        QCOMPARE(AutostartFile(kName).set(false), std::nullopt);
        QVERIFY(contents(path()).contains("\nHidden=true\n"));
    }

    void withoutAVariableTheFolderIsTheUsual()
    {
        qputenv("XDG_CONFIG_HOME", "not/absolute");
        qputenv("HOME", QFile::encodeName(m_home->path()));
        QCOMPARE(AutostartFile(kName).set(true), std::nullopt);
        QVERIFY(QFileInfo::exists(
            m_home->filePath(u".config/autostart/com.corvane.Quillfen.desktop"_s)));
    }

    void withoutAHomeItSaysSo()
    {
        qunsetenv("XDG_CONFIG_HOME");
        qputenv("HOME", "");
        const auto failure = AutostartFile(kName).set(true);
        QVERIFY(failure && failure->contains(u"HOME"_s));
    }

    void aFileInTheWayOfTheFolderIsSaid()
    {
        QVERIFY(write(m_home->filePath(u"config"_s), "x"));
        const auto failure = AutostartFile(kName).set(true);
        QVERIFY(failure && failure->contains(m_home->filePath(u"config/autostart"_s)));
        QCOMPARE(contents(m_home->filePath(u"config"_s)), "x");
    }

    void aFolderInTheWayOfTheFileIsSaid()
    {
        QVERIFY(QDir().mkpath(path()));
        for (const bool on : {true, false}) {
            const auto failure = AutostartFile(kName).set(on);
            QVERIFY(failure && failure->contains(path()));
        }
    }

private:
    QString path() const
    {
        return m_home->filePath(u"config/autostart/com.corvane.Quillfen.desktop"_s);
    }

    std::unique_ptr<QTemporaryDir> m_home;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::AutostartFileTest)
#include "AutostartFileTest.moc"
