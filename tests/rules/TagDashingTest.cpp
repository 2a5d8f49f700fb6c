#include "rules/TagDashing.h"

#include "app/RunState.h"
#include "rules/ConversionText.h"
#include "rules/ConvertToTag.h"
#include "rules/LiteralConversion.h"
#include "support/RandomText.h"
#include "support/RecordingOperator.h"
#include "text/TagScanner.h"

#include <gtest/gtest.h>
#include <random>

namespace {

QString randomTagText(std::mt19937& random, int pieces)
{
    static const QStringList parts = { QStringLiteral("<a>"), QStringLiteral("<b>"), QStringLiteral("</a>"),
        QStringLiteral("<a x=\"1\">"), QStringLiteral("Fig"), QStringLiteral(" "), QStringLiteral("<"),
        QStringLiteral(">"), QStringLiteral("-"), QStringLiteral("<a"), QStringLiteral("."),
        QStringLiteral("9") };
    std::uniform_int_distribution<qsizetype> pick(0, parts.size() - 1);
    QString text;
    for (int i = 0; i < pieces; ++i)
        text += parts[pick(random)];
    return text;
}

} // namespace

TEST(TagDashing, SameAsReplacingEveryOccurrence)
{
    std::mt19937 random(12);
    for (int round = 0; round < 20000; ++round) {
        const QString text
            = round % 2 ? RandomText(random, round % 40, u"<<>>ab-") : randomTagText(random, round % 30);
        ASSERT_EQ(DashTags(text), Literal::DashTags(text)) << text.toStdString();
    }
}

TEST(TagDashing, FedInPiecesGivesTheSameText)
{
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        const QString text = randomTagText(random, 25);
        TagDasher dasher;
        std::uniform_int_distribution<qsizetype> step(0, 6);
        for (qsizetype at = 0; at < text.size();) {
            const qsizetype next = std::min(text.size(), at + step(random));
            dasher.append(QStringView(text).sliced(at, next - at));
            at = next;
            ASSERT_EQ(dasher.result(), Literal::DashTags(text.left(at))) << text.toStdString();
        }
    }
}

TEST(PrecedingText, SameAsLookingAtTheWholeTextEachTime)
{
    std::mt19937 random(3);
    const QStringList expandedTexts = { "Fig", "fig", "-", "a", "Fig.", "<a", "9", "" };
    for (int round = 0; round < 1500; ++round) {
        const QString whole = randomTagText(random, 40);
        const qsizetype start = std::uniform_int_distribution<qsizetype>(0, 4)(random);
        // No slack: the finished text is let go as soon as it can be.
        PrecedingText preceding(start, expandedTexts, round % 2 ? 0 : 3);
        for (qsizetype end = start; end <= whole.size();
             end += std::uniform_int_distribution<qsizetype>(1, 5)(random)) {
            preceding.extendTo(whole, end);
            const QString text = whole.mid(start, end - start);
            for (const QString& expanded : expandedTexts) {
                ASSERT_EQ(
                    preceding.endsWithExpanded(expanded), Literal::ExpandedTextStandsLast(text, expanded))
                    << text.toStdString() << " | " << expanded.toStdString();
            }
        }
    }
}

TEST(PrecedingText, LastWordNeedsOnlyTheRawTail)
{
    std::mt19937 random(5);
    for (int round = 0; round < 5000; ++round) {
        const QString whole = round % 2 ? randomTagText(random, 20) : RandomText(random, 30, u"<>ab9 -");
        const qsizetype start = std::uniform_int_distribution<qsizetype>(0, whole.size())(random);
        const qsizetype end = std::uniform_int_distribution<qsizetype>(start, whole.size())(random);
        ASSERT_EQ(LastWordBefore(whole, start, end), Literal::LastWord(whole.mid(start, end - start)))
            << whole.toStdString() << " " << start << " " << end;
    }
}

TEST(CaselessFinder, FindsWhatTheLibrarySearchFinds)
{
    // Letters with more than two cases (the Kelvin sign folds to "k", the
    // long s to "s"), a sharp s, and a lone and a paired surrogate.
    const QString alphabet = QStringLiteral("kKsSfF.a ") + QChar(0x212A) + QChar(0x017F) + QChar(0x00DF)
        + QChar(0xD801) + QChar(0xDC00);
    const QStringList needles = { "k", "Ks", "fig.", "s" + QString(QChar(0x212A)), QString(QChar(0x00DF)),
        QString(QChar(0xD801)) + QChar(0xDC00) + "k", ".", "" };
    std::mt19937 random(23);
    for (int round = 0; round < 2000; ++round) {
        const QString text = RandomText(random, 30, alphabet);
        const qsizetype from = std::uniform_int_distribution<qsizetype>(0, 32)(random);
        for (const QString& needle : needles) {
            std::vector<qsizetype> expected;
            for (qsizetype at = needle.isEmpty() ? -1 : text.indexOf(needle, from, Qt::CaseInsensitive);
                 at >= 0; at = text.indexOf(needle, at + 1, Qt::CaseInsensitive))
                expected.push_back(at);
            std::vector<qsizetype> found;
            CaselessFinder(needle).forEach(text, from, [&](qsizetype at) { found.push_back(at); });
            ASSERT_EQ(found, expected) << text.toStdString() << " | " << needle.toStdString();
        }
    }
}

TEST(WholeWordIndex, SameAsSearchingTheRangeAlone)
{
    std::mt19937 random(17);
    const QStringList words = { "Fig", "fig.", "a", "9", "-", "Fig9", "" };
    for (int round = 0; round < 3000; ++round) {
        const QString whole = round % 2 ? randomTagText(random, 30) : RandomText(random, 60, u"FfIiGg9 -a");
        // One index per word serves every range, asked in any order, as for the elements of one file.
        std::vector<WholeWordIndex> indexes;
        for (const QString& word : words)
            indexes.emplace_back(word);
        for (int ask = 0; ask < 15; ++ask) {
            const qsizetype start = std::uniform_int_distribution<qsizetype>(0, whole.size())(random);
            const qsizetype end = std::uniform_int_distribution<qsizetype>(start, whole.size())(random);
            const QString content = whole.mid(start, end - start);
            for (qsizetype w = 0; w < words.size(); ++w) {
                ASSERT_EQ(
                    indexes[w].containsIn(whole, start, end), Literal::ContainsWholeWord(content, words[w]))
                    << whole.toStdString() << " " << start << " " << end << " " << words[w].toStdString();
            }
        }
    }
}

TEST(CurrentElementText, SameAsGetPCDATAAtTheTag)
{
    static const QStringList parts
        = { "<a>", "</a>", "<a x=\"1\">", "<b>", "</b>", "t", "<a", " ", "</a >", "<ab>" };
    std::mt19937 random(11);
    std::uniform_int_distribution<qsizetype> pick(0, parts.size() - 1);
    RecordingOperator op;
    for (int round = 0; round < 400; ++round) {
        RunState state(op);
        for (int i = 0; i < 30; ++i)
            state.file.wholeText += parts[pick(random)];
        // Every other round without the file index: the toolkit answers alone.
        if (round % 2)
            state.file.toolkit.indexText(state.file.wholeText);
        const TagScanner xml(state.file.toolkit);
        for (qsizetype lt = state.file.wholeText.indexOf(u'<'); lt >= 0;
             lt = state.file.wholeText.indexOf(u'<', lt + 1)) {
            const qsizetype gt = state.file.wholeText.indexOf(u'>', lt);
            if (gt < 0)
                break;
            const QString tag = state.file.wholeText.mid(lt, gt - lt + 1);
            if (tag.indexOf(u'<', 1) >= 0 || xml.GetTagType(tag) != TagKind::Start)
                continue;
            state.file.context.tagText = tag;
            state.file.context.tagName = xml.GetTagName(tag);
            state.file.context.filePosition = static_cast<std::int32_t>(lt + 1);
            std::int32_t position = state.file.context.filePosition;
            const QString expected
                = xml.GetPCDATA(state.file.wholeText, tag, "</" + state.file.context.tagName + ">", position);
            ASSERT_EQ(
                CurrentElementText(state.file.wholeText, state.file.toolkit, state.file.context), expected)
                << state.file.wholeText.toStdString() << " @" << lt;
        }
    }
}
