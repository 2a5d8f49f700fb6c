#include "rules/Pairs.h"

#include "support/QtPrinters.h"
#include "support/RuleFixture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

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

namespace {

// The plain reading: the open pairs searched from the top for every closing.
PairScan literalScan(const QString& text, const QList<PairStrings>& pairs)
{
    struct Open {
        int pair;
        qsizetype offset;
    };
    QList<Open> stack;
    PairScan scan;
    auto isOpen = [&](int pair) {
        return std::any_of(stack.begin(), stack.end(), [&](const Open& o) { return o.pair == pair; });
    };
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype gt = text.indexOf(u'>', at);
        const qsizetype lt = text.indexOf(u'<', at + 1);
        const bool inTag = text[at] == u'<' && gt > at && (lt < 0 || gt < lt);
        int found = -1;
        bool closing = false;
        for (int i = 0; i < pairs.size() && found < 0; ++i) {
            if (pairs[i].isMarkup() != inTag)
                continue;
            const bool closes = text.mid(at).startsWith(pairs[i].closing);
            const bool opens = text.mid(at).startsWith(pairs[i].opening);
            if (closes && (!opens || (!stack.isEmpty() && stack.last().pair == i)))
                found = i, closing = true;
            else if (opens)
                found = i;
        }
        if (found < 0) {
            at = inTag ? gt + 1 : at + 1;
            continue;
        }
        if (!closing) {
            stack.append({ found, at });
        } else if (!isOpen(found)) {
            scan.unbalanced.append({ found, at, false });
        } else {
            while (stack.last().pair != found)
                scan.unbalanced.append({ stack.last().pair, stack.takeLast().offset, true });
            const Open opened = stack.takeLast();
            if (!isOpen(found))
                scan.outermost.append({ found, opened.offset, at });
        }
        at += closing ? pairs[found].closing.size() : pairs[found].opening.size();
    }
    for (const Open& left : stack)
        scan.unbalanced.append({ left.pair, left.offset, true });
    std::stable_sort(scan.unbalanced.begin(), scan.unbalanced.end(),
        [](const auto& a, const auto& b) { return a.offset < b.offset; });
    return scan;
}

QStringList described(const PairScan& scan)
{
    QStringList lines;
    for (const auto& u : scan.unbalanced)
        lines << QStringLiteral("%1 %2 %3").arg(u.pair).arg(u.offset).arg(u.opening ? "open" : "close");
    for (const auto& s : scan.outermost)
        lines << QStringLiteral("%1 %2-%3").arg(s.pair).arg(s.opening).arg(s.closing);
    return lines;
}

} // namespace

TEST(ScanPairs, FindsWhatThePlainStackSearchFinds)
{
    std::mt19937 rng(27);
    const QStringList pieces = { "(", ")", "[", "]", "\"", "x", "<b>", "</b>", "<i t=\"(\">", "<", ">" };
    const QList<PairStrings> pairs = { { "(", ")" }, { "[", "]" }, { "\"", "\"" }, { "<b>", "</b>" } };
    std::uniform_int_distribution<int> pick(0, int(pieces.size()) - 1), length(0, 20);
    int unbalanced = 0;
    for (int round = 0; round < 20000; ++round) {
        QString text;
        for (int n = length(rng); n > 0; --n)
            text += pieces[pick(rng)];
        const PairScan expected = literalScan(text, pairs);
        ASSERT_EQ(described(ScanPairs(text, pairs)), described(expected)) << qPrintable(text);
        unbalanced += int(expected.unbalanced.size());
    }
    EXPECT_GT(unbalanced, 10000);
}
