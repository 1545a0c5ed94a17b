// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/MachineInfo.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

class MachineInfoTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void prettyHostnameIsUnquoted_data()
    {
        struct Row {
            const char *name;
            QByteArray file;
            std::optional<QString> expected;
        };
        static const Row rows[] = {
            {.name = "no file", .file = "", .expected = {}},
            {.name = "other keys", .file = "CHASSIS=laptop\n", .expected = {}},
            {.name = "bare", .file = "PRETTY_HOSTNAME=Desk\n", .expected = u"Desk"_s},
            {.name = "no line end", .file = "PRETTY_HOSTNAME=Desk", .expected = u"Desk"_s},
            {.name = "CR LF", .file = "PRETTY_HOSTNAME=Desk\r\n", .expected = u"Desk"_s},
            {.name = "double quotes",
             .file = "PRETTY_HOSTNAME=\"Zoë's Desk\"\n",
             .expected = u"Zoë's Desk"_s},
            {.name = "single quotes",
             .file = "PRETTY_HOSTNAME='a \"b\" \\c'\n",
             .expected = u"a \"b\" \\c"_s},
            {.name = "escapes in double quotes",
             .file = "PRETTY_HOSTNAME=\"\\\"a\\\" \\\\ \\$ \\` \\n\"",
             .expected = u"\"a\" \\ $ ` \\n"_s},
            {.name = "escapes bare",
             .file = "PRETTY_HOSTNAME=a\\ b\\\\\\\"c",
             .expected = u"a b\\\"c"_s},
            {.name = "pieces", .file = "PRETTY_HOSTNAME=a' b'\" c\"d", .expected = u"a b cd"_s},
            {.name = "empty", .file = "PRETTY_HOSTNAME=\n", .expected = {}},
            {.name = "empty in quotes", .file = "PRETTY_HOSTNAME=\"\"\n", .expected = {}},
            {.name = "blanks only", .file = "PRETTY_HOSTNAME=\"  \t \"\n", .expected = {}},
            {.name = "comment", .file = "#PRETTY_HOSTNAME=x\n", .expected = {}},
            {.name = "comment behind", .file = "PRETTY_HOSTNAME=a # b\n", .expected = u"a"_s},
            {.name = "hash within", .file = "PRETTY_HOSTNAME=a#b\n", .expected = u"a#b"_s},
            {.name = "indented", .file = "  PRETTY_HOSTNAME=a\n", .expected = u"a"_s},
            {.name = "blank before =", .file = "PRETTY_HOSTNAME =a\n", .expected = {}},
            {.name = "two words", .file = "PRETTY_HOSTNAME=a b\n", .expected = {}},
            {.name = "the last counts",
             .file = "PRETTY_HOSTNAME=a\nPRETTY_HOSTNAME=b\n",
             .expected = u"b"_s},
            {.name = "a broken last does not",
             .file = "PRETTY_HOSTNAME=a\nPRETTY_HOSTNAME=\"b\n",
             .expected = u"a"_s},
            {.name = "an empty last does",
             .file = "PRETTY_HOSTNAME=a\nPRETTY_HOSTNAME=\n",
             .expected = {}},
            {.name = "open quote", .file = "PRETTY_HOSTNAME='a\n", .expected = {}},
            {.name = "backslash at the end", .file = "PRETTY_HOSTNAME=a\\", .expected = {}},
            {.name = "longer key", .file = "MY_PRETTY_HOSTNAME=a\n", .expected = {}},
            {.name = "controls",
             .file = "PRETTY_HOSTNAME=\"a\tb\x1b[31m\xc2\x85\xe2\x80\xa8z\"\n",
             .expected = u"a b [31m  z"_s},
            {.name = "a zero byte",
             .file = QByteArray("PRETTY_HOSTNAME=a\0b", 19),
             .expected = u"a b"_s},
            {.name = "no UTF-8", .file = "PRETTY_HOSTNAME=\"Zo\xeb\"\n", .expected = u"Zoë"_s},
        };
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<std::optional<QString>>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.file << row.expected;
    }
    void prettyHostnameIsUnquoted()
    {
        QFETCH(QByteArray, file);
        QFETCH(std::optional<QString>, expected);
        QCOMPARE(prettyHostname(file), expected);
    }

    void prettyHostnameSurvivesACutAnywhere()
    {
        const QByteArray whole = "A=b\nPRETTY_HOSTNAME=\"Zo\xc3\xab\\\"s 'Desk'\" # c\n"
                                 "PRETTY_HOSTNAME='x'";
        for (qsizetype cut = 0; cut <= whole.size(); ++cut) {
            const std::optional<QString> name = prettyHostname(whole.first(cut));
            QVERIFY(!name || !name->isEmpty());
        }
        QCOMPARE(prettyHostname(whole), u"x"_s);
    }

    void onlyTheStartOfARegularFileIsRead()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"machine-info"_s);
        QCOMPARE(readMachineInfo(path), "");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write("A=b\n"), 4);
        file.close();
        QCOMPARE(readMachineInfo(path), "A=b\n");
        QVERIFY(file.resize(100'000'000));
        QCOMPARE(readMachineInfo(path).size(), 64 * 1024);
        QCOMPARE(readMachineInfo(folder.path()), "");
        const QString fifo = folder.filePath(u"fifo"_s);
        QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        QCOMPARE(readMachineInfo(fifo), "");
        QCOMPARE(readMachineInfo(u"/dev/zero"_s), "");
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::MachineInfoTest)
#include "MachineInfoTest.moc"
