#include "rules/CrossReferences.h"

#include "support/QtPrinters.h"
#include "support/RuleFixture.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kEveryTag = "N/A | CHECKCOUNTREFVALIDITY | N/A\r\n";
const QByteArray kReferenceTable
    = "Referring tag | attribute | Target tag | attribute | Uncited | Severity\r\n"
      "xref | rid | ref | id | Y | E\r\n"
      "xref | rid | fig | id | N | W\r\n";

} // namespace

TEST(CHECKCOUNTREFVALIDITY, ReferencesResolveAndTargetsAreReferredTo)
{
    ExpectRuleCases(kEveryTag, SupportFile::CountRefCheck, kReferenceTable,
        {
            // Targets after their references, several ids in one attribute,
            // a figure nobody refers to (its row does not ask).
            { R"(<p><xref rid="b1 f1"/></p><ref id="b1"/><fig id="f1"/><fig id="f2"/>)", {} },
            { "<xref rid=\"b9\">x</xref>\r\n<ref id=\"b1\"/>",
                { R"(1:1 E Missing target: rid="b9" (no ref id or fig id) | <xref rid="b9">x</xref>)",
                    R"(2:1 E Never referred to: ref id="b1" | <ref id="b1"/>)" } },
            { R"(<ref id="b1"/><ref id="b1"/><xref rid="b1"/>)",
                { R"(1:15 E Target given twice: ref id="b1" | <ref id="b1"/><xref rid="b1"/>)" } },
            { R"(<xref rid=""/><xref other="b1"/>)", {} },
        });
}

TEST(CHECKCOUNTREFVALIDITY, EachTagCountsOnceAndEachFileStartsAfresh)
{
    // Declared for every tag and for the element itself: one look per tag.
    RuleFixture fixture(kEveryTag + "<xref> | CHECKCOUNTREFVALIDITY | N/A\r\n");
    ASSERT_TRUE(fixture.loadTable(SupportFile::CountRefCheck, kReferenceTable));
    EXPECT_EQ(fixture.run(R"(<xref rid="b1">1</xref><ref id="b1"/>)"), QStringList());
    EXPECT_EQ(fixture.run(R"(<xref rid="b1">1</xref>)"),
        QStringList({ R"(1:1 E Missing target: rid="b1" (no ref id or fig id) | <xref rid="b1">1</xref>)" }));
}

TEST(CITATIONVALIDITY, NumberedCitationsFirstAppearInOrder)
{
    const QByteArray table = "Tag | Attribute | Pattern | Severity | Message\r\n"
                             "cite | | | E | Out of order\r\n"
                             "<xref ref-type=\"fig\"> | rid | | W | Figure out of order\r\n"
                             "p | | \\[([^\\]]*)\\] | E | Bracket out of order\r\n";
    ExpectRuleCases("N/A | CITATIONVALIDITY | N/A\r\n", SupportFile::CitationValTbl, table,
        {
            { "<cite>1</cite><cite>2-4</cite><cite>3, 5</cite><cite>1</cite>", {} },
            { "<cite>1</cite> <cite>[4-6]</cite> <cite>2</cite>",
                { "1:16 E Out of order: 4 cited before 2 | <cite>[4-6]</cite> <cite>2</cite>" } },
            // Figures count apart from references; other kinds of xref are no figures.
            { R"(<xref ref-type="fig" rid="f1"/><cite>1</cite><xref ref-type="fig" rid="f3"/><xref rid="f9"/>)",
                { R"(1:46 W Figure out of order: 3 cited before 2 | <xref ref-type="fig" rid="f3"/><xref rid="f9"/>)" } },
            { "<p>Smith 2019 [1] and [3]</p>",
                { "1:1 E Bracket out of order: 3 cited before 2 | <p>Smith 2019 [1] and [3]</p>" } },
            { "<cite>3", {} }, // never closed: no text to read
        });
}

TEST(CITATIONVALIDITY, CitedNumbersReadListsAndRanges)
{
    struct Row {
        QString text;
        QList<CitedRange> expected;
    };
    const QList<Row> rows = {
        { "", {} },
        { "3", { { 3, 3, 0 } } },
        { "3-5", { { 3, 5, 0 } } },
        { "b3\u2013b5, 7", { { 3, 5, 1 }, { 7, 7, 7 } } },
        { "12 - 14; 2", { { 12, 14, 0 }, { 2, 2, 9 } } },
        { "5-3", { { 3, 5, 0 } } },
        { "4-, 6", { { 4, 4, 0 }, { 6, 6, 4 } } },
    };
    for (const Row& row : rows)
        EXPECT_EQ(CitedNumbers(row.text), row.expected) << qPrintable(row.text);
}
