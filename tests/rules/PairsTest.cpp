#include "rules/Pairs.h"

#include "support/QtPrinters.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

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
