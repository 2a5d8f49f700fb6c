#include "rules/Pairs.h"

#include "support/QtPrinters.h"
#include "support/RuleFixture.h"

#include <gtest/gtest.h>

TEST(CHECKPAIRVALIDITY, PairsNestAndBalanceInTheElementText)
{
    const QByteArray table = "Tag | Opening | Closing | Severity | Message\r\n"
                             "p | ( | ) | E | Parens\r\n"
                             "p | [ | ] | E | Brackets\r\n"
                             "p | <b> | </b> | W | Bold\r\n"
                             "p | \" | \" | W | Quotes\r\n";
    // Declared twice, for every tag and for p: each element is read once.
    ExpectRuleCases("N/A | CHECKPAIRVALIDITY | N/A\r\n<p> | CHECKPAIRVALIDITY | N/A\r\n",
        SupportFile::CheckPairTbl, table,
        {
            { R"~(<p>(a [b] "c") <b>x</b></p>)~", {} },
            { "<p>a) (b</p>",
                { R"~(1:5 E Parens: ")" without "(" | ) (b</p>)~",
                    R"~(1:7 E Parens: "(" never closed | (b</p>)~" } },
            { "<p>( [ ) ]</p>",
                { R"~(1:6 E Brackets: "[" never closed | [ ) ]</p>)~",
                    R"~(1:10 E Brackets: "]" without "[" | ]</p>)~" } },
            { "<p><b>x</p>", { R"~(1:4 W Bold: "<b>" never closed | <b>x</p>)~" } },
            { "<p>\"x</p>", { R"~(1:4 W Quotes: """ never closed | "x</p>)~" } },
            { R"~(<p title="(">x</p>)~", {} }, // brackets inside a tag are no text
            { "<p>(<p>)</p></p>", {} }, // the inner p was read with the outer one
            { "<p>(", {} }, // never closed: no content
            { "<p>a\r\n(b</p>", { R"~(2:1 E Parens: "(" never closed | (b</p>)~" } },
        });
}

TEST(CHECKPAIRCONTVALIDITY, TheTextBetweenAPairMatchesThePattern)
{
    const QByteArray table = "Tag | Opening | Closing | Pattern | Severity | Message\r\n"
                             "ref | ( | ) | ^\\d{4}[a-z]?$ | W | Not a year\r\n";
    ExpectRuleCases("<ref> | CHECKPAIRCONTVALIDITY | N/A\r\n", SupportFile::CheckPairContTbl, table,
        {
            { "<ref>A (2019) b (2020a) (<i>2021</i>)</ref>", {} },
            { "<ref>A (20l9) b</ref>", { R"~(1:8 W Not a year: "20l9" | (20l9) b</ref>)~" } },
            // Only the outermost pair is read; an unclosed one is the other routine's.
            { "<ref>((1999)) (x</ref>", { R"~(1:6 W Not a year: "(1999)" | ((1999)) (x</ref>)~" } },
        });
}

TEST(ScanPairs, StaysLinearOnDeepAndUnbalancedText)
{
    // Closings of a kind never opened, under a deep stack of another kind.
    const QString text = QString(50000, u'(') + QString(50000, u']');
    const PairScan scan = ScanPairs(text, { { "(", ")" }, { "[", "]" } });
    EXPECT_EQ(scan.unbalanced.size(), 100000);
    EXPECT_TRUE(scan.outermost.isEmpty());
}
