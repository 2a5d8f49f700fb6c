#include "LiteralToolkit.h"
#include "core/ElementIndex.h"
#include "support/RecordingOperator.h"
#include "text/TagScanner.h"

#include <gtest/gtest.h>
#include <random>

namespace {

// Texts made of the pieces that trip tag searches up: stray and doubled
// brackets, quotes, blanks, line ends, and real tags of a few shapes.
QString RandomTaggedText(std::mt19937& rng)
{
    static const QStringList pieces = { "<", ">", "/", "\"", " ", "\r\n", "a", "b", "x", "A", "<a>", "</a>",
        "<b x=\"1\">", "</b>", "<a/>", "<a ", "<A>", "</A>", "<<", "< a>", "<>", "<a;k>", "</a >", "\"<b>\"",
        "<b y=\">\">", "</>", "<c", "c>", "=\"", "<a x=\"", "aa" };
    std::uniform_int_distribution<int> length(0, 24);
    std::uniform_int_distribution<int> pick(0, int(pieces.size()) - 1);
    QString text;
    for (int n = length(rng); n > 0; --n)
        text += pieces[pick(rng)];
    return text;
}

struct Both {
    ToolkitState fastState;
    ToolkitState literalState;
    TagScanner fast { fastState };
    LiteralToolkit literal { literalState };

    Both() { fastState.currentLineNumber = literalState.currentLineNumber = 7; }
    void expectSameState(const QString& text) const
    {
        EXPECT_EQ(fastState.QuotedMarkupNote, literalState.QuotedMarkupNote) << qPrintable(text);
    }
};

constexpr int kRounds = 6000;

} // namespace

TEST(ToolkitDifferential, RemoveTagsMatchesTheRestartingRemoval)
{
    std::mt19937 rng(20240611);
    Both both;
    int changed = 0;
    for (int round = 0; round < kRounds; ++round) {
        const QString text = RandomTaggedText(rng);
        for (const bool withContent : { false, true }) {
            both.fastState.clearQuotedMarkupNote();
            both.fastState.QuotedMarkupNote = both.literalState.QuotedMarkupNote = "[1<q>]";
            both.fastState.quotedMarkupRecords.insert("[1<q>]");
            QString fastText = text, literalText = text;
            const QString fastResult = both.fast.RemoveTags(fastText, withContent);
            const QString literalResult = both.literal.RemoveTags(literalText, withContent);
            ASSERT_EQ(fastResult, literalResult) << qPrintable(text) << " content " << withContent;
            ASSERT_EQ(fastText, literalText) << qPrintable(text);
            both.expectSameState(text);
            changed += fastResult != text;
        }
    }
    EXPECT_GT(changed, kRounds); // the texts really hold tags to remove
}

// An element's content read in place, through the index of the whole file,
// gives what removing the elements from a copy of it gives: the file's
// elements reaching past the content's end count as not closed there.
TEST(ToolkitDifferential, ElementsRemovedInPlaceMatchTheRemovalFromACopy)
{
    std::mt19937 rng(20261126);
    Both both;
    int changed = 0;
    for (int round = 0; round < kRounds; ++round) {
        const QString before = RandomTaggedText(rng);
        const QString content = RandomTaggedText(rng);
        static const QStringList ends = { "</a>", "</A>", "</b>", "<", "a>", "" };
        const QString& end = ends[round % ends.size()];
        const QString document = before + content + end + (end.isEmpty() ? QString() : RandomTaggedText(rng));
        both.fastState.indexText(document);
        both.fastState.clearQuotedMarkupNote();
        both.literalState.QuotedMarkupNote.clear();
        const QString inPlace
            = both.fast.ElementsRemoved(QStringView(document).sliced(before.size(), content.size()));
        QString copy = content;
        ASSERT_EQ(inPlace, both.literal.RemoveTags(copy, true))
            << qPrintable(document) << " at " << before.size();
        both.expectSameState(document);
        changed += inPlace != content;
    }
    EXPECT_GT(changed, kRounds / 4);
}

// The match's zero-based start is the one-based position the literal search
// answers, less one; no match is its -1.
TEST(ToolkitDifferential, FindTagMatchesTheCandidateSearch)
{
    std::mt19937 rng(7);
    Both both;
    for (int round = 0; round < kRounds; ++round) {
        const QString text = RandomTaggedText(rng);
        both.fastState.clearQuotedMarkupNote();
        both.literalState.QuotedMarkupNote.clear();
        for (std::int32_t start = -1; start <= text.size() + 2; ++start) {
            std::int32_t literalPos = start;
            const QString literalTag = both.literal.RetrieveTags(text, literalPos);
            const std::optional<TagMatch> match = both.fast.FindTag(text, std::max(start, 1) - 1);
            ASSERT_EQ(match ? match->text.toString() : QString(), literalTag)
                << qPrintable(text) << " from " << start;
            ASSERT_EQ(match ? match->start + 1 : -1, literalPos) << qPrintable(text) << " from " << start;
        }
        both.expectSameState(text);
    }
}

TEST(ToolkitDifferential, GetPcdataMatchesTheRecountingSearch)
{
    const QList<std::pair<QString, QString>> tagPairs = {
        { "<a>", "</a>" },
        { "<b x=\"1\">", "</b>" },
        { "<A>", "</a>" },
        { "<a", "</a>" },
        { "a", "aa" },
        { "<a>", "a" },
        { "", "</a>" },
        { "<a>", "" },
    };
    std::mt19937 rng(99);
    Both both;
    int indexedContents = 0;
    for (int round = 0; round < kRounds; ++round) {
        const QString text = RandomTaggedText(rng);
        // Odd rounds ask of the document text, which the element index answers.
        if (round % 2)
            both.fastState.indexText(text);
        else
            both.fastState.indexText(QString());
        for (const auto& [startTag, endTag] : tagPairs) {
            for (std::int32_t start = 0; start <= text.size() + 1; start += 3) {
                std::int32_t fastPos = start, literalPos = start;
                const QString fastContent = both.fast.GetPCDATA(text, startTag, endTag, fastPos);
                ASSERT_EQ(fastContent, both.literal.GetPCDATA(text, startTag, endTag, literalPos))
                    << qPrintable(text) << " tags " << qPrintable(startTag) << qPrintable(endTag) << " from "
                    << start << (round % 2 ? " indexed" : "");
                ASSERT_EQ(fastPos, literalPos);
                indexedContents += round % 2 && !fastContent.isEmpty();
            }
        }
    }
    EXPECT_GT(indexedContents, kRounds); // the index really answered non-empty contents
}

TEST(ToolkitDifferential, ElementIndexMatchesTheRecountingSearch)
{
    std::mt19937 rng(4242);
    Both both;
    int closed = 0;
    for (int round = 0; round < kRounds; ++round) {
        const QString text = RandomTaggedText(rng) + RandomTaggedText(rng);
        const ElementIndex index(text);
        for (std::int32_t at = 1; at > 0;) {
            const QString tag = both.literal.RetrieveTags(text, at);
            if (at == -1)
                break;
            const QString name = both.fast.GetTagName(tag);
            if (both.fast.GetTagType(tag) == TagKind::Start && !name.isEmpty() && !name.contains(u' ')) {
                std::int32_t position = at;
                const QString expected = both.literal.GetPCDATA(text, tag, "</" + name + ">", position);
                const auto content = index.elementContent(at - 1, tag.size(), name);
                ASSERT_EQ(content.value_or(QStringView()).toString(), expected)
                    << qPrintable(text) << " at " << at;
                closed += content ? 1 : 0;
            }
            ++at;
        }
    }
    EXPECT_GT(closed, kRounds / 4);
}
