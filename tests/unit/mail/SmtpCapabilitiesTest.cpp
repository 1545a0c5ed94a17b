// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SmtpCapabilities.h"

#include <QByteArray>
#include <QObject>
#include <QTest>

#include <cstdint>
#include <optional>

namespace quillfen::mail {

namespace {

SmtpCapabilities offered(const QByteArrayList &lines)
{
    return SmtpCapabilities(
        {.code = 250, .texts = QByteArrayList{"mail.test greets you"} + lines, .bytes = {}});
}

} // namespace

class SmtpCapabilitiesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void findsKeywordsAsWholeWords_data()
    {
        struct Row {
            const char *name;
            QByteArray line;
            QByteArray keyword;
            bool found;
        };
        static const Row rows[] = {
            {.name = "as it is", .line = "STARTTLS", .keyword = "STARTTLS", .found = true},
            {.name = "in small letters", .line = "starttls", .keyword = "STARTTLS", .found = true},
            {.name = "with parameters", .line = "SIZE 100", .keyword = "SIZE", .found = true},
            {.name = "with blanks around",
             .line = " 8BITMIME ",
             .keyword = "8BITMIME",
             .found = true},
            {.name = "the start of a word",
             .line = "STARTTLSX",
             .keyword = "STARTTLS",
             .found = false},
            {.name = "the end of a word",
             .line = "XSTARTTLS",
             .keyword = "STARTTLS",
             .found = false},
            {.name = "a parameter", .line = "HELP STARTTLS", .keyword = "STARTTLS", .found = false},
            {.name = "an empty line", .line = "", .keyword = "STARTTLS", .found = false},
            {.name = "blanks only", .line = "   ", .keyword = "STARTTLS", .found = false},
        };
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QByteArray>("keyword");
        QTest::addColumn<bool>("found");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.line << row.keyword << row.found;
    }
    void findsKeywordsAsWholeWords()
    {
        QFETCH(QByteArray, line);
        QFETCH(QByteArray, keyword);
        QTEST(offered({"HELP", line}).offers(keyword), "found");
    }

    void findsMechanismsAsWholeWords_data()
    {
        struct Row {
            const char *name;
            QByteArrayList lines;
            QByteArray mechanism;
            bool found;
        };
        static const Row rows[] = {
            {.name = "the first",
             .lines = {"AUTH PLAIN LOGIN"},
             .mechanism = "PLAIN",
             .found = true},
            {.name = "the last",
             .lines = {"AUTH PLAIN LOGIN"},
             .mechanism = "LOGIN",
             .found = true},
            {.name = "in small letters",
             .lines = {"auth plain"},
             .mechanism = "PLAIN",
             .found = true},
            {.name = "asked for in small letters",
             .lines = {"AUTH PLAIN"},
             .mechanism = "plain",
             .found = true},
            {.name = "on a second line",
             .lines = {"AUTH CRAM-MD5", "AUTH LOGIN"},
             .mechanism = "LOGIN",
             .found = true},
            {.name = "with two blanks",
             .lines = {"AUTH  PLAIN"},
             .mechanism = "PLAIN",
             .found = true},
            {.name = "another one",
             .lines = {"AUTH CRAM-MD5"},
             .mechanism = "PLAIN",
             .found = false},
            {.name = "a part of one",
             .lines = {"AUTH XPLAIN"},
             .mechanism = "PLAIN",
             .found = false},
            {.name = "none", .lines = {"AUTH"}, .mechanism = "PLAIN", .found = false},
            {.name = "the keyword itself",
             .lines = {"AUTH PLAIN"},
             .mechanism = "AUTH",
             .found = false},
            {.name = "no AUTH", .lines = {"LOGIN PLAIN"}, .mechanism = "PLAIN", .found = false},
        };
        QTest::addColumn<QByteArrayList>("lines");
        QTest::addColumn<QByteArray>("mechanism");
        QTest::addColumn<bool>("found");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.lines << row.mechanism << row.found;
    }
    void findsMechanismsAsWholeWords()
    {
        QFETCH(QByteArrayList, lines);
        QFETCH(QByteArray, mechanism);
        QTEST(offered(lines).offersMechanism(mechanism), "found");
    }

    void readsTheSizeLimit_data()
    {
        struct Row {
            const char *name;
            QByteArray line;
            std::optional<std::uint64_t> limit;
        };
        static const Row rows[] = {
            {.name = "a number", .line = "SIZE 35882577", .limit = 35882577},
            {.name = "large", .line = "SIZE 18446744073709551615", .limit = UINT64_MAX},
            {.name = "no number", .line = "SIZE", .limit = {}},
            {.name = "0 for no limit", .line = "SIZE 0", .limit = {}},
            {.name = "no digits", .line = "SIZE many", .limit = {}},
            {.name = "too large to be a number", .line = "SIZE 99999999999999999999", .limit = {}},
            {.name = "below zero", .line = "SIZE -5", .limit = {}},
            {.name = "another keyword", .line = "SIZES 5", .limit = {}},
        };
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<std::optional<std::uint64_t>>("limit");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.line << row.limit;
    }
    void readsTheSizeLimit()
    {
        QFETCH(QByteArray, line);
        QFETCH(std::optional<std::uint64_t>, limit);
        QVERIFY(offered({line}).sizeLimit() == limit);
    }

    void takesTheGreetingForNoKeyword()
    {
        const SmtpCapabilities capabilities(
            {.code = 250, .texts = {"STARTTLS is my name"}, .bytes = {}});
        QVERIFY(!capabilities.offers("STARTTLS"));
    }

    void canDoNothingAtFirst()
    {
        const SmtpCapabilities capabilities;
        QVERIFY(!capabilities.offers("STARTTLS"));
        QVERIFY(!capabilities.offersMechanism("PLAIN"));
        QVERIFY(!capabilities.sizeLimit());
    }
};

} // namespace quillfen::mail

using quillfen::mail::SmtpCapabilitiesTest;
QTEST_APPLESS_MAIN(SmtpCapabilitiesTest)
#include "SmtpCapabilitiesTest.moc"
