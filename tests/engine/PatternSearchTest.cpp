#include "engine/PatternSearch.h"

#include <gtest/gtest.h>

TEST(PatternSearch, CountsAndListsEveryMatch)
{
    struct Row {
        QString pattern;
        QString text;
        bool ignoreCase;
        bool wholeText;
        int count;
        QString captures;
        QString matches;
    };
    const Row rows[] = {
        { R"((\d+)\.)", "1. a 22. b", false, false, 2, "1[%]22[%]", "1.[%]22.[%]" },
        { "(ab)", "AB ab", true, false, 2, "AB[%]ab[%]", "AB[%]ab[%]" },
        { R"(\d)", "a1b2", false, false, 2, "[%][%]", "1[%]2[%]" }, // no group: empty captures
        { "(x)|y", "xy", false, false, 2, "x[%][%]", "x[%]y[%]" }, // a group that took no part
        // The whole-text switch keeps a result only when every match is the whole text.
        { R"((\d+))", "123", false, true, 1, "123[%]", "123[%]" },
        { R"((\d+))", "123 4", false, true, 0, "", "" },
    };
    for (const Row& row : rows) {
        const PatternSearchResult found = SearchPattern(row.pattern, row.text, row.ignoreCase, row.wholeText);
        EXPECT_EQ(found.count, row.count) << row.pattern.toStdString() << " in " << row.text.toStdString();
        EXPECT_EQ(found.captureList, row.captures) << row.pattern.toStdString();
        EXPECT_EQ(found.matchList, row.matches) << row.pattern.toStdString();
    }
}

TEST(PatternSearch, SearchesGloballyWhateverTheExpressionSays)
{
    const RegExp single("(a)", false, false);
    EXPECT_EQ(SearchPattern(single, u"aaa").count, 3);
    EXPECT_THROW(SearchPattern("(?<=a)b", u"ab", false), PatternError);
}
