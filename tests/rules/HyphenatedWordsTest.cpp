#include "rules/HyphenatedWords.h"

#include "support/FakeSpellingEngine.h"
#include "support/RuleFixture.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

const QByteArray kAcceptedWords = "Accepted hyphenated words\r\nMid-Year\r\nlong-term  \r\n";

FakeSpellingEngine& useEngine(
    RuleFixture& fixture, QSet<QString> known, QHash<QString, QStringList> suggestions = {})
{
    auto engine = std::make_unique<FakeSpellingEngine>(std::move(known), std::move(suggestions));
    FakeSpellingEngine& kept = *engine;
    fixture.state.spelling.engine = std::move(engine);
    return kept;
}

struct RuleRow {
    QByteArray input;
    QStringList expected;
};

// Runs each row with a fresh fixture (and so a fresh answer cache).
void expectFindings(const QByteArray& routineRows, const QList<RuleRow>& rows, const QSet<QString>& known,
    const QHash<QString, QStringList>& suggestions)
{
    for (const RuleRow& row : rows) {
        RuleFixture fixture(routineRows);
        fixture.setTable(SupportFile::HyphenatedTbl, kAcceptedWords, LoadHyphenatedTable);
        useEngine(fixture, known, suggestions);
        EXPECT_EQ(fixture.run(row.input), row.expected) << row.input.constData();
    }
}

} // namespace

TEST(ExtractHyphenatedWord, TakesTheLettersAndDigitsAroundTheHyphen)
{
    struct Row {
        QString text;
        std::int32_t position;
        HyphenAt mode;
        QString expected;
    };
    const QList<Row> rows = {
        { "well-\r\nknown", 5, HyphenAt::LineEnd, "well-known" },
        { "a well-\r\nknown.", 7, HyphenAt::LineEnd, "well-known" },
        { "ab-\r\ncd-ef", 3, HyphenAt::LineEnd, "ab-cd" },
        { "well-\r\n<?>", 5, HyphenAt::LineEnd, "well-" },
        { "x-", 2, HyphenAt::LineEnd, "x-" },
        { "-\r\nabc", 1, HyphenAt::LineEnd, "-abc" },
        { "10-\r\n20", 3, HyphenAt::LineEnd, "" },
        { "A4-\r\n5", 3, HyphenAt::LineEnd, "A4-5" },
        { u"caf\u00e9-\r\nbar"_qs, 5, HyphenAt::LineEnd, "-bar" },
        { "a well-known fact", 7, HyphenAt::InLine, "well-known" },
        { "a-b-c", 2, HyphenAt::InLine, "a-b-c" },
        { "a-b-c", 4, HyphenAt::InLine, "b-c" },
        { "a-b- c", 2, HyphenAt::InLine, "a-b-" },
        { "a--b", 2, HyphenAt::InLine, "a--b" },
        { "a--b", 3, HyphenAt::InLine, "-b" },
        { "-x", 1, HyphenAt::InLine, "-x" },
        { "word-</p>", 5, HyphenAt::InLine, "" },
        { "inter-\r\nnational", 6, HyphenAt::InLine, "" },
        { "10-20", 3, HyphenAt::InLine, "" },
        { "1-2-3", 2, HyphenAt::InLine, "" },
        { "1e-5", 3, HyphenAt::InLine, "" }, // a number in scientific notation
        { "x1-2", 3, HyphenAt::InLine, "x1-2" },
        { "in-f", 3, HyphenAt::InLine, "in-f" }, // "inf" is a word, not a number
        { u"caf\u00e9-bar"_qs, 5, HyphenAt::InLine, "-bar" },
        { u"na\u00efve-ly"_qs, 6, HyphenAt::InLine, "ve-ly" },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ExtractHyphenatedWord(row.text, row.position, row.mode), row.expected)
            << row.text.toStdString() << " at " << row.position;
    }
}

TEST(LoadHyphenatedTable, KeepsEntriesAsReadAndWarnsAboutEntriesWithoutHyphen)
{
    RuleFixture fixture("");
    fixture.setTable(SupportFile::HyphenatedTbl,
        "Accepted hyphenated words\r\nwell-known\r\n   \r\nlong-term  \r\nnohyphen\r\n\r\n",
        LoadHyphenatedTable);
    const auto* table
        = fixture.state.config.ActiveTableSet.loaded<HyphenatedTable>(SupportFile::HyphenatedTbl);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->entries, (QStringList { "well-known", "long-term  " }));
    const QString path = fixture.state.config.ActiveTableSet.file(SupportFile::HyphenatedTbl);
    const RecordedMessage warning { "Hyphen (-) not found in some of the entries in " + path, kProgramTitle,
        MessageIcon::Warning };
    EXPECT_EQ(fixture.op.messages, QList { warning });
}

TEST(LoadHyphenatedTable, AHeaderAloneIsAnEmptyList)
{
    RuleFixture fixture("");
    TableSet& set = fixture.state.config.ActiveTableSet;
    set.file(SupportFile::HyphenatedTbl) = fixture.dir.write("h.tbl", "Accepted words, no hyphen here\r\n");
    EXPECT_TRUE(LoadHyphenatedTable(fixture.state, set));
    EXPECT_TRUE(fixture.op.messages.isEmpty());
    EXPECT_TRUE(set.loaded<HyphenatedTable>(SupportFile::HyphenatedTbl)->entries.isEmpty());
}

TEST(SpellCheckWord, AppendsAtMostTwoNonEmptySuggestionsCutAtTheirNul)
{
    RuleFixture fixture("");
    useEngine(fixture, { "fine" },
        { { "bad", { "first", "second", "third" } }, { "odd", { "", QString("cut") + QChar(0) + "off" } } });
    QString& suggestions = fixture.state.spelling.suggestions;
    suggestions = "kept";
    EXPECT_EQ(SpellCheckWord(fixture.state, "fine"), 0);
    EXPECT_EQ(suggestions, "kept");
    EXPECT_EQ(SpellCheckWord(fixture.state, "bad"), -1);
    EXPECT_EQ(suggestions, "kept, first, second");
    suggestions.clear();
    EXPECT_EQ(SpellCheckWord(fixture.state, "odd"), -1);
    EXPECT_EQ(suggestions, "cut");
    suggestions.clear();
    EXPECT_EQ(SpellCheckWord(fixture.state, "none"), -1);
    EXPECT_EQ(suggestions, "");
    EXPECT_EQ(SpellCheckWord(fixture.state, ""), 0); // an empty text holds no misspelt word
}

TEST(HYPHENATEDWORDCHECK, ReportsLineEndHyphenationsByWhatTheEngineSays)
{
    const QSet<QString> known = { "international", "self-evident", "bar" };
    const QHash<QString, QStringList> suggestions = { { "colour-free", { "color-free", "colourfree" } } };
    const QList<RuleRow> rows = {
        // The joined form is a word: the hyphen should have gone (by severity).
        { "<p>inter-\r\nnational trade</p>",
            { "1:1 E Hyphenated word: inter-national found in <p> | <p>inter-" } },
        { "x <p>a\r\nb inter-\r\nnational</p>",
            { "1:3 E Hyphenated word: inter-national found in <p> | <p>a" } },
        // A split number joins to an empty text, which the engine accepts.
        { "<p>pages 10-\r\n20</p>", { "1:1 E Hyphenated word:  found in <p> | <p>pages 10-" } },
        // The hyphenated form is a word: nothing to say.
        { "<p>self-\r\nevident</p>", {} },
        // Neither is: always a warning, with suggestions when there are any.
        { "<p>colour-\r\nfree</p>",
            { "1:1 W Hyphenated word: colour-free Suggested Words: color-free, colourfree | <p>colour-" } },
        { "<p>qzx-\r\nvbn</p>", { "1:1 W Hyphenated word: qzx-vbn found in <p> | <p>qzx-" } },
        // Accepted words, compared ignoring case; an entry with trailing blanks never matches.
        { "<p>mid-\r\nyear</p>", {} },
        { "<p>long-\r\nterm</p>", { "1:1 W Hyphenated word: long-term found in <p> | <p>long-" } },
        // Nothing after the line break: the word keeps its hyphen and the joined test is skipped.
        { "<p>inter-\r\n<i>national</i></p>", { "1:1 W Hyphenated word: inter- found in <p> | <p>inter-" } },
        // A nested element is not read as part of its parent (the dispatcher
        // runs the check for it on its own); letters outside A to Z end a word.
        { "<p>see <i>inter-\r\nnational</i></p>",
            { "1:8 E Hyphenated word: inter-national found in <i> | <i>inter-" } },
        { "<p>caf\xE9-\r\nbar</p>", { "1:1 E Hyphenated word: -bar found in <p> | <p>caf\xC3\xA9-" } },
        // In-line hyphens, unclosed elements and other tags are not this check's.
        { "<p>inter-national</p>", {} },
        { "<p>inter-\r\nnational", {} },
        { "<q>inter-\r\nnational</q>", {} },
    };
    expectFindings("<p> | HYPHENATEDWORDCHECK | E\r\n", rows, known, suggestions);
}

TEST(HYPHENATEDWORDCHECK, TheSeverityOnlyGovernsJoinedWords)
{
    const QList<RuleRow> rows = {
        { "<p>inter-\r\nnational</p>", { "1:1 W Hyphenated word: inter-national found in <p> | <p>inter-" } },
        { "<p>qzx-\r\nvbn</p>", { "1:1 W Hyphenated word: qzx-vbn found in <p> | <p>qzx-" } },
    };
    expectFindings("<p> | HYPHENATEDWORDCHECK | W\r\n", rows, { "international" }, {});
}

TEST(COMPOUNDWORDCHECK, ReportsInLineCompoundsByWhatTheEngineSays)
{
    const QSet<QString> known = { "well-known" };
    const QHash<QString, QStringList> suggestions
        = { { "wel-known", { "well-known", "weld-known", "we-known" } } };
    const QList<RuleRow> rows = {
        // A compound the engine knows is always a warning.
        { "<p>a well-known fact</p>",
            { "1:1 W Compound Word: well-known found in <p> | <p>a well-known fact</p>" } },
        // One it rejects is reported by severity, with suggestions when there are any.
        { "<p>a wel-known fact</p>",
            { "1:1 E Compound Word: wel-known Suggested Words: well-known, weld-known | <p>a wel-known "
              "fact</p>" } },
        { "<p>qzx-vbn</p>", { "1:1 E Compound Word: qzx-vbn found in <p> | <p>qzx-vbn</p>" } },
        { "<p>Mid-year and long-term</p>",
            { "1:1 E Compound Word: long-term found in <p> | <p>Mid-year and long-term</p>" } },
        { "<p>pages 10-20, 1-2-3 and 1e-5 m</p>", {} },
        // The search resumes at the word's first hyphen.
        { "<p>a-b-c</p>",
            { "1:1 E Compound Word: a-b-c found in <p> | <p>a-b-c</p>",
                "1:1 E Compound Word: b-c found in <p> | <p>a-b-c</p>" } },
        { "<p>ab-c-d</p>", { "1:1 E Compound Word: ab-c-d found in <p> | <p>ab-c-d</p>" } },
        { "<p>a--b</p>", { "1:1 E Compound Word: a--b found in <p> | <p>a--b</p>" } },
        // The start tag is part of the searched text.
        { "<p id=\"x-1\">ok</p>",
            { "1:1 E Compound Word: x-1 found in <p id=\"x-1\"> | <p id=\"x-1\">ok</p>" } },
        // Nothing after the hyphen, a nested element, a line-end hyphen.
        { "<p>word-</p>", {} },
        { "<p>see <i>well-known</i><b>x</b>-y</p>",
            { "1:1 W Compound Word: -y found in <p> | <p>see <i>well-known</i><b>x</b>-y</p>",
                "1:8 W Compound Word: well-known found in <i> | <i>well-known</i><b>x</b>-y</p>" } },
        { "<p>inter-\r\nnational</p>", {} },
        { "<p>caf\xE9-bar</p>", { "1:1 E Compound Word: -bar found in <p> | <p>caf\xC3\xA9-bar</p>" } },
    };
    QSet<QString> knownWithY = known;
    knownWithY.insert("-y");
    expectFindings("<p> | COMPOUNDWORDCHECK | E\r\n", rows, knownWithY, suggestions);
}

TEST(COMPOUNDWORDCHECK, TheSeverityOnlyGovernsRejectedCompounds)
{
    const QList<RuleRow> rows = {
        { "<p>well-known</p>", { "1:1 W Compound Word: well-known found in <p> | <p>well-known</p>" } },
        { "<p>qzx-vbn</p>", { "1:1 W Compound Word: qzx-vbn found in <p> | <p>qzx-vbn</p>" } },
    };
    expectFindings("<p> | COMPOUNDWORDCHECK | W\r\n", rows, { "well-known" }, {});
}

TEST(SpellingCache, TheEngineIsAskedOnceAboutEachText)
{
    RuleFixture fixture("<p> | HYPHENATEDWORDCHECK | E\r\n | COMPOUNDWORDCHECK | E\r\n");
    fixture.setTable(SupportFile::HyphenatedTbl, kAcceptedWords, LoadHyphenatedTable);
    FakeSpellingEngine& engine = useEngine(fixture, { "international", "well-known" },
        { { "wel-known", { "well-known" } }, { "qzx-vbn", { "q" } } });
    const QByteArray paragraph
        = "<p>wel-known, well-known, wel-known; inter-\r\nnational qzx-\r\nvbn</p>\r\n";
    const QStringList findings = fixture.run(paragraph + paragraph + paragraph);

    // Every paragraph still gets all its findings, suggestions included.
    EXPECT_EQ(findings.size(), 3 * 5);
    EXPECT_EQ(findings.filter("E Compound Word: wel-known Suggested Words: well-known |").size(), 6);
    EXPECT_EQ(findings.filter("W Hyphenated word: qzx-vbn Suggested Words: q |").size(), 3);
    EXPECT_EQ(findings.filter("E Hyphenated word: inter-national found in <p> |").size(), 3);
    EXPECT_EQ(
        engine.checked, (QStringList { "international", "qzxvbn", "qzx-vbn", "wel-known", "well-known" }));
    // The joined "qzxvbn" is misspelt too, but nobody reads its suggestions.
    EXPECT_EQ(engine.suggested, (QStringList { "qzx-vbn", "wel-known" }));
}
