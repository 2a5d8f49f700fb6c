#include "rules/CharacterPatterns.h"

#include "support/RuleFixture.h"

#include <gtest/gtest.h>

TEST(SpecialCharacters, ReadsQuotedFieldsAndEscapedQuotes)
{
    struct Row {
        QString line;
        bool isRow;
        QString pattern = {}, message = {};
        Severity severity = Severity::Warning;
        bool ignoreCase = true;
    };
    const Row rows[] = {
        { R"~("(space)(space)","Double space","WARNING","I")~", true, "(space)(space)", "Double space" },
        { R"~("=\"\"","Empty \"value\"","error","c")~", true, R"~(="")~", R"~(Empty "value")~",
            Severity::Error, false },
        { R"~( "a" , "b" , "c" , "d" )~", true, "a", "b" },
        { R"("a","b","c")", false },
    };
    for (const Row& row : rows) {
        SpecialCharRow parsed;
        ASSERT_EQ(ParseSpecialCharLine(row.line, parsed), row.isRow) << row.line.toStdString();
        if (!row.isRow)
            continue;
        EXPECT_EQ(parsed.pattern, row.pattern);
        EXPECT_EQ(parsed.message, row.message);
        EXPECT_EQ(parsed.severity, row.severity);
        EXPECT_EQ(parsed.ignoreCase, row.ignoreCase);
    }
    EXPECT_EQ(PrepareSpecialCharPattern("(hrt)x(space)(tab)(HRT)"), R"~((\r\n)x( )(\t)(HRT))~");
}

TEST(SpecialCharacters, ReportsEveryMatchWithItsLineAndColumn)
{
    const QList<TableCase> rows = {
        { "severity ERROR makes errors, case ignored unless C",
            R"~("x","Bad x","error","I")~"
            "\r\n"
            R"~("Y","Bad Y","ERROR","c")~"
            "\r\n",
            "aXy\r\nY", { "1:2 E Bad x | X", "2:1 E Bad Y | Y" } },
        { "a rejected pattern ends the check, earlier rows stay",
            R"~("a","Found a","W","I")~"
            "\r\n"
            R"~("(?<=a)b","Lookbehind","W","I")~"
            "\r\n"
            R"~("c","Found c","W","I")~"
            "\r\n",
            "abc", { "1:1 W Found a | a" } },
    };
    for (const TableCase& row : rows) {
        RuleFixture fixture("", row.rows);
        EXPECT_EQ(fixture.run(row.input), row.expected) << row.name;
        // Only the rejected pattern makes the run end with a failure, and it says which.
        const bool rejected = row.rows.contains("(?<=");
        EXPECT_EQ(fixture.state.checkFailures, rejected ? 1 : 0) << row.name;
        ASSERT_EQ(fixture.op.diagnostics.size(), rejected ? 1 : 0) << row.name;
        if (rejected) {
            EXPECT_TRUE(
                fixture.op.diagnostics[0].startsWith("input.xml: CheckSpecialCharacters ended early: "))
                << fixture.op.diagnostics[0].toStdString();
            EXPECT_TRUE(fixture.op.diagnostics[0].contains("(?<=a)b"))
                << fixture.op.diagnostics[0].toStdString();
        }
    }
}
