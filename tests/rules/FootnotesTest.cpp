#include "rules/Footnotes.h"

#include "rules/LiteralConversion.h"

#include <gtest/gtest.h>
#include <random>

namespace {

// The plain reading of the word test over the whole separated text.
bool literalMarkInFirstTwoWords(const QString& content, const QString& upperReference)
{
    QString word;
    int compared = 0;
    for (const QChar c : Literal::DashTags(content)) {
        const QChar upper = c.toUpper();
        if ((upper >= u'A' && upper <= u'Z') || (upper >= u'0' && upper <= u'9')) {
            word += upper;
            continue;
        }
        if (compared >= 2)
            return false;
        if (word.isEmpty())
            continue;
        if (word == upperReference)
            return true;
        ++compared;
        word.clear();
    }
    return false;
}

} // namespace

TEST(UNDELFNREF, WordTestReadsOnlyWhatItNeedsWithThePlainAnswer)
{
    std::mt19937 rng(5);
    const QStringList pieces
        = { "<", ">", "1", "2", " ", "x", "<b>", "</b>", "<1>", "-", "<fn fnref=\"1\">" };
    std::uniform_int_distribution<int> pick(0, int(pieces.size()) - 1), length(0, 16);
    int found = 0;
    for (int round = 0; round < 20000; ++round) {
        QString text;
        for (int n = length(rng); n > 0; --n)
            text += pieces[pick(rng)];
        for (const QString reference : { "1", "X" }) {
            const bool expected = literalMarkInFirstTwoWords(text, reference);
            ASSERT_EQ(FootnoteMarkInFirstTwoWords(text, reference), expected) << qPrintable(text);
            found += expected;
        }
    }
    EXPECT_GT(found, 1000);
}

TEST(UNDELFNREF, TagSeparatorsMatchThePlainReplacement)
{
    std::mt19937 rng(11);
    const QStringList pieces = { "<", ">", "b", "i", " ", "1", "<b>", "</b>", "<i x=\"1\">" };
    std::uniform_int_distribution<int> pick(0, int(pieces.size()) - 1), length(0, 24);
    for (int round = 0; round < 20000; ++round) {
        QString text;
        for (int n = length(rng); n > 0; --n)
            text += pieces[pick(rng)];
        ASSERT_EQ(TagsAsSeparators(text), Literal::DashTags(text)) << qPrintable(text);
    }
}
