#include "core/RunAborted.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"
#include "rules/RuleRegistry.h"
#include "rules/TextValidity.h"
#include "support/RuleFixture.h"
#include "text/TagScanner.h"

#include <gtest/gtest.h>
#include <random>

namespace {

// The check read plainly: every row of the table walked for every element,
// each condition searched in the whole file again, the content taken by the
// toolkit's own search of the file.
void literalTEXTVALIDITY(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<TextValidityTable>(SupportFile::TextValidityTbl);
    const ValidationContext& context = rule.tag;
    if (!table || table->index.text().isEmpty() || context.tagType != TagKind::Start)
        return;
    if (!table->index.text().contains("[" + context.tagName + "]", Qt::CaseInsensitive))
        return;
    try {
        for (const TextValidityRow& row : table->rows) {
            if (row.tag != context.tagName)
                continue;
            if (!row.condition.isEmpty() && !RegExp(row.condition, true, true).test(rule.document))
                continue;
            std::int32_t position = context.filePosition;
            ElementContent content(
                TagScanner(rule.toolkit)
                    .GetPCDATA(rule.document, context.tagText, "</" + context.tagName + ">", position));
            ApplyTextValidityRow(rule, row, content); // a fresh content per row, indexed on its own
        }
    } catch (const RunAborted&) {
        throw;
    } catch (const std::exception&) {
    }
}

RuleBook literalRules()
{
    RuleBook book = Rules();
    for (RuleEntry& entry : book.routines) {
        if (entry.name == QLatin1String("TEXTVALIDITY"))
            entry.run = literalTEXTVALIDITY;
    }
    return book;
}

template <class T, std::size_t N> const T& pick(std::mt19937& random, const T (&choices)[N])
{
    return choices[std::uniform_int_distribution<std::size_t>(0, N - 1)(random)];
}

QByteArray randomTable(std::mt19937& random)
{
    const char* conditions[] = { "", "", "alpha", "ALPHA", "zzz", "be<space>ta", "(?<=a)b" };
    const char* patterns[] = { "(\\d+)", "(alpha)", "(\\w+)", "b", "<b>(\\d)", "(\\d)<hrt>", "x" };
    const char* tags[] = { "p", "<p>", "P", "b", "sec", "<sec id=\"1\">", "b][p", "B" };
    const char* splits[] = { "Y", "N", "y" };
    const char* excluded[] = { "", "", "b", "sec", "i, b" };
    const char* operators[] = { "=", ">", "<", "!=", "=>", "=<", "!dup", "dup", "+1", "-1", "@eval(=)$+1",
        "@eval(<)$1*2", "<@now", "forbid" };
    const char* numbers[] = { "0", "1", "2", "3", "x" };
    QByteArray table
        = "Condition | Value | Tag | Split | Excluded | Operator | Number | Severity | Message\r\n";
    const int rows = std::uniform_int_distribution<int>(1, 8)(random);
    for (int i = 0; i < rows; ++i) {
        table += QByteArray(pick(random, conditions)) + " | " + pick(random, patterns) + " | "
            + pick(random, tags) + " | " + pick(random, splits) + " | " + pick(random, excluded) + " | "
            + pick(random, operators) + " | " + pick(random, numbers) + " | " + (i % 2 ? "E" : "W")
            + " | Row " + QByteArray::number(i + 1) + "\r\n";
    }
    return table;
}

// Tagged text with the usual faults: unclosed and stray tags, nesting, line breaks.
QByteArray randomText(std::mt19937& random)
{
    const char* pieces[] = { "<p>", "</p>", "<P>", "</P>", "<b>", "</b>", "<i>", "</i>", "<sec id=\"1\">",
        "</sec>", "<br/>", "<b][p>", "</b][p>", "alpha", "Beta", "be ta", "1", "2", "3", "12", " ", " ",
        "\r\n", "x", "<p a=\"1\">", "<!-- c -->" };
    QByteArray text;
    const int count = std::uniform_int_distribution<int>(0, 60)(random);
    for (int i = 0; i < count; ++i)
        text += pick(random, pieces);
    return text;
}

} // namespace

// The row map, the cached conditions and the indexed element content give
// exactly the findings of the plain reading.
TEST(TextValidityDifferential, MatchesThePlainReading)
{
    std::mt19937 random(20261123);
    const RuleBook plain = literalRules();
    const QByteArray declarations
        = "<p> | TEXTVALIDITY | N/A\r\n<sec> | TEXTVALIDITY | N/A\r\n<P> | TEXTVALIDITY | N/A\r\n";
    int findings = 0;
    for (int round = 0; round < 80; ++round) {
        const QByteArray table = randomTable(random);
        RuleFixture fast(declarations);
        RuleFixture literal(declarations);
        ASSERT_TRUE(fast.setTable(SupportFile::TextValidityTbl, table, LoadTextValidityTable));
        ASSERT_TRUE(literal.setTable(SupportFile::TextValidityTbl, table, LoadTextValidityTable));
        // Several files per table: conditions are per file, step numbers per run.
        for (int file = 0; file < 3; ++file) {
            const QByteArray text = randomText(random);
            const QStringList expected = literal.run(text, plain);
            ASSERT_EQ(fast.run(text), expected) << table.constData() << "\n--- text:\n" << text.constData();
            findings += int(expected.size());
        }
    }
    EXPECT_GT(findings, 50); // the random cases do reach the operators
}

// Split and cut content keeps, for every character, the place it came from:
// a kept character stands there in the content, a bar stands for a "<", and
// the places rise. Cuts after a split or another cut carry the places on.
TEST(TextValidityDifferential, PreparedContentKnowsWhereEachCharacterCameFrom)
{
    std::mt19937 random(20261126);
    ToolkitState values;
    const TagScanner xml(values);
    for (int round = 0; round < 400; ++round) {
        const QString content = QString::fromUtf8(randomText(random));
        PlacedContent placed { content, {} };
        if (round % 2)
            placed = SplitOnTags(std::move(placed), xml);
        for (const QString& name : { QStringLiteral("i"), QStringLiteral("b"), QStringLiteral("sec") })
            placed = CutElements(std::move(placed), name, xml);
        const QString& text = placed.text;
        for (qsizetype i = 0; i < text.size(); ++i) {
            const qsizetype from = placed.originOf(i);
            ASSERT_LT(from, content.size()) << content.toStdString() << " @" << i;
            ASSERT_EQ(content[from], text[i] == u'|' ? QChar(u'<') : text[i])
                << content.toStdString() << " @" << i;
            if (i > 0) {
                ASSERT_GT(from, placed.originOf(i - 1)) << content.toStdString() << " @" << i;
            }
        }
        if (!text.isEmpty()) {
            ASSERT_EQ(placed.originOf(text.size()), placed.originOf(text.size() - 1) + 1);
        }
    }
}
