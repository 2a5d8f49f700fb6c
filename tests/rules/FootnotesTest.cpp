#include "support/RuleFixture.h"

#include <gtest/gtest.h>

TEST(UNDELFNREF, ReportsAReferenceLeftInTheFirstTwoWords)
{
    struct Row {
        QByteArray input;
        QStringList expected;
    };
    const QList<Row> rows = {
        { R"~(<p><fn fnref="12">12 Note.</fn>)~",
            { R"~(1:4 E fnref value found in the first two words | <fn fnref="12">12 Note.</fn>)~" } },
        { R"~(<fn fnref="a">A. Smith said</fn>)~",
            { R"~(1:1 E fnref value found in the first two words | <fn fnref="a">A. Smith said</fn>)~" } },
        { R"~(<fn fnref="3">Note 3: see</fn>)~",
            { R"~(1:1 E fnref value found in the first two words | <fn fnref="3">Note 3: see</fn>)~" } },
        { R"~(<fn fnref="3">See note 3 here</fn>)~", {} },
        { R"~(<fn fnref="12">12</fn>)~", {} }, // the last word is never compared
        { R"~(<fn fnref="1 2">1 2 x</fn>)~", {} }, { R"~(<FN fnref="1">1 x</FN>)~", {} },
        { R"~(<fn fnref="1"/>1 x)~", {} }, { R"~(<fn>1 x</fn>)~", {} },
        { R"~(<fn fnref="2"><b>x</b>2 y</fn>)~",
            { R"~(1:1 E fnref value found in the first two words | <fn fnref="2"><b>x</b>2 y</fn>)~" } },
        { "<fn fnref=\"7\">\r\n7 spans lines</fn>",
            { "1:1 E fnref value found in the first two words | <fn fnref=\"7\">" } },
        { "<fn fnref=\"cafe\">caf\xC3\xA9 x</fn>", {} }, // letters outside A to Z separate words
    };
    for (const Row& row : rows) {
        RuleFixture fixture("<fn> | UNDELFNREF | e\r\n");
        EXPECT_EQ(fixture.run(row.input), row.expected) << row.input.constData();
    }
}

TEST(UNDELFNREF, UsesTheDeclaredSeverity)
{
    RuleFixture fixture("<fn> | UNDELFNREF | W\r\n");
    EXPECT_EQ(fixture.run(R"~(<fn fnref="1">1 x</fn>)~"),
        QStringList { R"~(1:1 W fnref value found in the first two words | <fn fnref="1">1 x</fn>)~" });
}
