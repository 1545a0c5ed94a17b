// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/TiffPages.h"

#include <QFile>
#include <QObject>
#include <QTest>
#include <QtEndian>

#include <utility>

namespace quillfen::platform {

namespace {

/// A file of one page, whose fields a test may spoil.
struct TiffFile {
    struct Field {
        quint16 tag;
        quint16 type;
        quint32 count;
        quint32 value;
    };

    bool bigEndian = false;
    QByteArray pixels = QByteArray::fromHex("010203ff040506800708090a0b0c0d0e");
    quint32 next = 0;
    std::vector<Field> fields = {
        {256, 3, 1, 2}, {257, 3, 1, 2}, {258, 3, 1, 8},  {259, 3, 1, 1}, {262, 3, 1, 2},
        {273, 4, 1, 8}, {277, 3, 1, 4}, {279, 4, 1, 16}, {284, 3, 1, 1}, {338, 3, 1, 2},
    };

    TiffFile with(quint16 tag, quint32 value) const
    {
        TiffFile changed = *this;
        for (Field &field : changed.fields)
            if (field.tag == tag)
                field.value = value;
        return changed;
    }
    TiffFile without(quint16 tag) const
    {
        TiffFile changed = *this;
        std::erase_if(changed.fields, [tag](const Field &field) { return field.tag == tag; });
        return changed;
    }
    QByteArray bytes() const
    {
        QByteArray out(bigEndian ? "MM" : "II");
        put(out, 42, 2);
        put(out, quint32(8 + pixels.size()), 4);
        out += pixels;
        put(out, quint32(fields.size()), 2);
        for (const Field &field : fields) {
            put(out, field.tag, 2);
            put(out, field.type, 2);
            put(out, field.count, 4);
            put(out, field.value, field.type == 3 ? 2 : 4);
            if (field.type == 3)
                put(out, 0, 2);
        }
        put(out, next, 4);
        return out;
    }

private:
    void put(QByteArray &out, quint32 value, int size) const
    {
        for (int i = 0; i < size; ++i)
            out += char(value >> 8 * (bigEndian ? size - 1 - i : i));
    }
};

std::vector<Pixmap> pagesOf(const QByteArray &file)
{
    return tiffPages(std::as_bytes(std::span(file.constData(), std::size_t(file.size()))));
}

} // namespace

class TiffPagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void putsAlphaInFrontAndKeepsColoursAsTheyAre()
    {
        const Pixmap expected{2, 2, QByteArray::fromHex("ff010203800405060a0708090e0b0c0d")};
        QVERIFY(pagesOf(TiffFile().bytes()) == std::vector{expected});
        TiffFile file;
        file.bigEndian = true;
        QVERIFY(pagesOf(file.bytes()) == std::vector{expected});
    }

    void joinsStrips()
    {
        TiffFile file;
        const QByteArray places = QByteArray::fromHex("0000000800000010"
                                                      "0000000800000008");
        file.bigEndian = true;
        file.pixels += places;
        for (TiffFile::Field &field : file.fields) {
            if (field.tag == 273)
                field = {273, 4, 2, 24};
            if (field.tag == 279)
                field = {279, 4, 2, 32};
        }
        const Pixmap expected{2, 2, QByteArray::fromHex("ff010203800405060a0708090e0b0c0d")};
        QVERIFY(pagesOf(file.bytes()) == std::vector{expected});
    }

    void leavesOutWhatItCannotRead_data()
    {
        struct Row {
            const char *name;
            TiffFile file;
        };
        const TiffFile good;
        const Row rows[] = {
            {.name = "compressed", .file = good.with(259, 5)},
            {.name = "grey", .file = good.with(262, 1)},
            {.name = "three samples", .file = good.with(277, 3)},
            {.name = "sixteen bits", .file = good.with(258, 16)},
            {.name = "planes", .file = good.with(284, 2)},
            {.name = "colours multiplied with alpha", .file = good.with(338, 1)},
            {.name = "no width", .file = good.with(256, 0)},
            {.name = "no width at all", .file = good.without(256)},
            {.name = "too wide", .file = good.with(256, 513)},
            {.name = "more rows than bytes", .file = good.with(257, 3)},
            {.name = "no strips", .file = good.without(273)},
            {.name = "no strip lengths", .file = good.without(279)},
            {.name = "strips beyond the end", .file = good.with(273, 4'000'000'000)},
            {.name = "a strip longer than the file", .file = good.with(279, 4'000'000'000)},
        };
        QTest::addColumn<QByteArray>("bytes");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.file.bytes();
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("another format") << QByteArray("\x89PNG\r\n\x1a\n", 8);
    }
    void leavesOutWhatItCannotRead()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(pagesOf(bytes).size(), std::size_t(0));
    }

    void endsWhereAFileBitesItsOwnTail()
    {
        TiffFile file;
        file.next = quint32(8 + file.pixels.size());
        QCOMPARE(pagesOf(file.bytes()).size(), std::size_t(64));
    }

    void survivesACutAtEveryByte()
    {
        const QByteArray whole = TiffFile().bytes();
        for (qsizetype size = 0; size < whole.size(); ++size)
            QCOMPARE(pagesOf(whole.first(size)).size(), std::size_t(0));
    }

    void survivesEveryByteTurnedOver()
    {
        QByteArray bytes = TiffFile().bytes();
        for (char &byte : bytes) {
            const char before = std::exchange(byte, char(~byte));
            for (const Pixmap &page : pagesOf(bytes))
                QCOMPARE(page.pixels.size(), qsizetype(4) * page.width * page.height);
            byte = before;
        }
    }
};

} // namespace quillfen::platform

QTEST_APPLESS_MAIN(quillfen::platform::TiffPagesTest)
#include "TiffPagesTest.moc"
