// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TextDecoding.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::support {

class TextDecodingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsEveryByteOfMacRoman()
    {
        // The upper half in its order, sixteen a row.
        const QString upper = u"ÄÅÇÉÑÖÜáàâäãåçéè"
                              "êëíìîïñóòôöõúùûü"
                              "†°¢£§•¶ß®©™´¨≠ÆØ"
                              "∞±≤≥¥µ∂∑∏π∫ªºΩæø"
                              "¿¡¬√ƒ≈∆«»…\u00a0ÀÃÕŒœ"
                              "–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ"
                              "‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ"
                              "\uf8ffÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ"_s;
        QCOMPARE(upper.size(), 128);
        for (int byte = 0; byte < 256; ++byte) {
            const QChar expected = byte < 128 ? QChar(byte) : upper.at(byte - 128);
            const char bytes[] = {static_cast<char>(byte)};
            QCOMPARE(decodeMacRoman(QByteArrayView(bytes, 1)), QString(expected));
        }
    }

    void takesUtf8OrElseMacRoman_data()
    {
        struct Row {
            const char *name;
            QByteArray bytes;
            QString text;
        };
        static const Row rows[] = {
            {.name = "nothing", .bytes = {}, .text = {}},
            {.name = "ASCII", .bytes = "203.0.113.7"_ba, .text = u"203.0.113.7"_s},
            {.name = "UTF-8 of each length",
             .bytes = "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x8c\x90"_ba,
             .text = u"aé€\U0001F310"_s},
            {.name = "a zero byte", .bytes = "a\0b"_ba, .text = u"a\0b"_s},
            {.name = "a byte order mark",
             .bytes = "\xef\xbb\xbf"
                      "a"_ba,
             .text = u"\ufeffa"_s},
            {.name = "Latin-1", .bytes = "caf\xe9"_ba, .text = u"cafÈ"_s},
            {.name = "Mac OS Roman", .bytes = "caf\x8e"_ba, .text = u"café"_s},
            {.name = "cut short at the end", .bytes = "a\xe2\x82"_ba, .text = u"a‚Ç"_s},
            {.name = "overlong", .bytes = "\xc0\xaf"_ba, .text = u"¿Ø"_s},
            {.name = "a surrogate", .bytes = "\xed\xa0\x80"_ba, .text = u"Ì†Ä"_s},
            {.name = "beyond Unicode", .bytes = "\xf4\x90\x80\x80"_ba, .text = u"ÙêÄÄ"_s},
            {.name = "one wrong byte makes all Mac OS Roman",
             .bytes = "\xc3\xa9\xff"_ba,
             .text = u"√©ˇ"_s},
        };
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.bytes << row.text;
    }
    void takesUtf8OrElseMacRoman()
    {
        QFETCH(QByteArray, bytes);
        QTEST(decodeText(bytes), "text");
    }
};

} // namespace quillfen::support

QTEST_APPLESS_MAIN(quillfen::support::TextDecodingTest)
#include "TextDecodingTest.moc"
