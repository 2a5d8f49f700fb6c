#include "report/ReportFormat.h"

#include <gtest/gtest.h>

using ReportFormat::EntryKind;

namespace {

QString sp(int count)
{
    return QString(count, QLatin1Char(' '));
}

TEST(ReportFormat, PaddedNumbers)
{
    struct Row {
        std::int64_t value;
        int digits;
        const char* expected;
    };
    const Row rows[] = {
        { 123456, 5, "123456" },
        { -5, 10, "-0000000005" },
        { 12345678901LL, 10, "12345678901" },
    };
    for (const Row& row : rows)
        EXPECT_EQ(ReportFormat::padded(row.value, row.digits), QLatin1String(row.expected)) << row.value;
}

TEST(ReportFormat, EntryLines)
{
    const QString long100 = QString(60, QLatin1Char('m')) + QString(40, QLatin1Char('n'));
    const QString m76 = long100.left(76);
    const QString m53 = long100.left(53);
    struct Row {
        EntryKind kind;
        std::int64_t line;
        QString message;
        QString data;
        std::int32_t column;
        QString report; // column mode off
        QString located; // column mode on, and the column entry text without its line end
        QString plain;
        WarningRecord record;
    };
    const QList<Row> rows = {
        { EntryKind::Error, 7, "Bad tag", "<x>", 12, "0000000007   E / Bad tag" + sp(79) + "<x>",
            "0000000007 - 00012 - E / Bad tag" + sp(48) + " - <x>",
            "0000000007     E / Bad tag" + sp(48) + "<x>",
            { "0000000007", "   E / Bad tag" + sp(79), "<x>" } },
        { EntryKind::Warning, 1, long100, "a\r\nb\r\n", 3, "0000000001   W / " + m76 + sp(10) + "a...b...",
            "0000000001 - 00003 - W / " + m53 + sp(2) + " - a...b...",
            "0000000001     W / " + m53 + sp(2) + "a...b...",
            { "0000000001", "   W / " + m76 + sp(10), "a...b..." } },
    };
    for (const Row& row : rows) {
        const auto off
            = ReportFormat::formatEntry(row.kind, row.line, row.message, row.data, row.column, false);
        const auto on
            = ReportFormat::formatEntry(row.kind, row.line, row.message, row.data, row.column, true);
        EXPECT_EQ(off.reportLine, row.report);
        EXPECT_EQ(on.reportLine, row.located);
        for (const auto& texts : { off, on }) {
            EXPECT_EQ(texts.columnLine, row.located + "\r\n");
            EXPECT_EQ(texts.plainLine, row.plain + "\r\n");
            EXPECT_EQ(texts.record, row.record);
        }
    }
}

TEST(ReportFormat, Headers)
{
    const QString rule = QString(10, '=') + sp(3) + QString(80, '=') + sp(10) + QString(66, '=');
    EXPECT_EQ(ReportFormat::reportHeader("a", EntryKind::Error, false),
        QStringList({ "Filename: a", "Line No" + sp(6) + "Error Message" + sp(103) + "Data Content", rule }));
    // The column layout of both is pinned by the golden runs of the samples.
    const QString view = QString(137, '=');
    EXPECT_EQ(ReportFormat::errorViewHeader("/in/a.xml", false),
        QStringList({ "", view, "Input File: /in/a.xml", "",
            "Line No" + sp(8) + "Error Message" + sp(47) + "Data Content", view }));
}

TEST(ReportFormat, DataStartsAtCharacter104WhateverTheMessage)
{
    for (int length : { 0, 53, 54, 76, 77, 200 }) {
        const QString message(length, QLatin1Char('x'));
        const auto texts = ReportFormat::formatEntry(EntryKind::Error, 9, message, "DATA", 1, false);
        EXPECT_EQ(texts.reportLine.indexOf("DATA"), 103) << length;
        EXPECT_EQ(texts.reportLine.size(), 107) << length;
        EXPECT_EQ(texts.plainLine.indexOf("DATA"), 74) << length;
        EXPECT_EQ(texts.columnLine.indexOf(" - DATA"), 80) << length;
    }
}

TEST(ReportFormat, DataIsShownOnOneLineAndCut)
{
    struct Row {
        QString data;
        QString expected;
    };
    const QList<Row> rows = {
        { "lone\rcr\nlf", "lone\rcr\nlf" },
        { "\r\n" + QString(300, QLatin1Char('d')), "..." + QString(247, QLatin1Char('d')) },
        { QString(250, QLatin1Char('e')) + "\r\n", QString(250, QLatin1Char('e')) },
    };
    for (const Row& row : rows)
        EXPECT_EQ(ReportFormat::preparedData(row.data), row.expected);
    // Line breaks around the cut, against the plain reading: replace all, then cut.
    for (int before = 240; before <= 256; ++before) {
        for (const QString& tail : { QString("\r\n\r\nx"), QString("\rx\r\n"), QString("\r\n") }) {
            const QString data = QString(before, QLatin1Char('d')) + tail + QString(before, QLatin1Char('t'));
            QString plain = data;
            plain.replace("\r\n", "...");
            EXPECT_EQ(ReportFormat::preparedData(data), plain.left(250)) << before;
        }
    }
}

TEST(ReportFormat, TwelveHourTimes)
{
    struct Row {
        QTime time;
        const char* clock;
    };
    const Row rows[] = {
        { { 21, 5, 3 }, "09:05:03 PM" },
        { { 0, 0, 0 }, "12:00:00 AM" },
    };
    for (const Row& row : rows) {
        const QDateTime moment(QDate(2009, 12, 1), row.time);
        EXPECT_EQ(ReportFormat::clockTime(moment), QLatin1String(row.clock));
        EXPECT_EQ(ReportFormat::logDateTime(moment), QStringLiteral("12/01/09 ") + QLatin1String(row.clock));
    }
}

} // namespace
