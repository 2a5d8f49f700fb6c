#include "rules/ConvertToTag.h"

#include "support/RuleFixture.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kTable = "Tag | Action | Word | Severity | Position\r\n"
                          "xref | DELETE | Figure | E | S\r\n"
                          "fig | COPY | Figure | W | E\r\n"
                          "tbl | DELETE | Table | e | b\r\n"
                          "sup | copy | see | W | s\r\n"
                          "Fn | DELETE | Note | E | E\r\n"
                          "fn | KEEP | Note | E | B\r\n";

QStringList run(const QByteArray& input)
{
    RuleFixture fixture("N/A | CONVERT2TAG | x\r\n");
    EXPECT_TRUE(fixture.loadTable(SupportFile::Convert2TagTbl, kTable));
    return fixture.run(input);
}

} // namespace

TEST(CONVERT2TAG, BeforeTheTagTheLastWordCounts)
{
    const QList<std::pair<QByteArray, QStringList>> cases = {
        { "<p>see Figure <xref>1</xref></p>", {} }, // the word must end right before the tag
        { "<p>see Figure<b></b><xref>1</xref></p>", {} }, // a tag ends the word
        { "<p>\xE9" // e acute, the input being read as Windows-1252
          "Figure<xref>1</xref></p>",
            { "1:11 E \"Figure\" Found right before <xref> | <xref>1</xref></p>" } }, // an accented letter
                                                                                      // ends a word
        { "Figure<xref>1</xref>", { R"(1:7 E "Figure" Found right before <xref> | <xref>1</xref>)" } },
        // The text starts after the outermost open start tag.
        { "<sec><p>x</p>Figure<xref>1</xref></sec>",
            { R"(1:20 E "Figure" Found right before <xref> | <xref>1</xref></sec>)" } },
        { "<p>saw<sup>1</sup></p>", { R"(1:7 W "see" Not found right before <sup> | <sup>1</sup></p>)" } },
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(run(input), expected) << input.constData();
}

TEST(CONVERT2TAG, AfterTheTagAWholeWordOfTheContentCounts)
{
    const QList<std::pair<QByteArray, QStringList>> cases = {
        { R"(<fig id="f1"><title>Figure 1</title></fig>)", {} }, { "<fig>see the FIGURE.</fig>", {} },
        { "<fig>Figures and figure2</fig>",
            { R"(1:1 W "Figure" Not found right after <fig> | <fig>Figures and figure2</fig>)" } },
        { "<fig>Figures, then figure</fig>", {} }, // the search goes on past a longer word
        { "<fig>Figure", { R"(1:1 W "Figure" Not found right after <fig> | <fig>Figure)" } }, // never closed
        { "<Fn>A Note.</Fn>", { R"(1:1 E "Note" Found right after <Fn> | <Fn>A Note.</Fn>)" } },
        { "<fn>A Note.</fn>", {} }, // tag names match exactly; KEEP is no action
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(run(input), expected) << input.constData();
}

TEST(CONVERT2TAG, BothPositionsGiveTheBeforeFindingFirst)
{
    EXPECT_EQ(run("<p>Table<tbl>Table 1</tbl></p>"),
        QStringList({ R"(1:9 E "Table" Found right before <tbl> | <tbl>Table 1</tbl></p>)",
            R"(1:9 E "Table" Found right after <tbl> | <tbl>Table 1</tbl></p>)" }));
    EXPECT_EQ(run("<p>Table<tbl>1</tbl></p>"),
        QStringList({ R"(1:9 E "Table" Found right before <tbl> | <tbl>1</tbl></p>)" }));
}
