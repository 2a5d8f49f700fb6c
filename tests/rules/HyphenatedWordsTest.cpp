#include "rules/HyphenatedWords.h"

#include "support/FakeSpellingEngine.h"
#include "support/RuleFixture.h"

#include <gtest/gtest.h>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray kAcceptedWords = "Accepted hyphenated words\r\nMid-Year\r\nlong-term  \r\n";

FakeSpellingEngine& useEngine(
    RuleFixture& fixture, QSet<QString> known, QHash<QString, QStringList> suggestions = {})
{
    auto engine = std::make_unique<FakeSpellingEngine>(std::move(known), std::move(suggestions));
    FakeSpellingEngine& kept = *engine;
    fixture.state.installation->spelling.engine = std::move(engine);
    return kept;
}

// Runs each row with a fresh fixture (and so a fresh answer cache).
void expectFindings(const QByteArray& routineRows, const QList<RuleCase>& rows, const QSet<QString>& known,
    const QHash<QString, QStringList>& suggestions)
{
    for (const RuleCase& row : rows) {
        RuleFixture fixture(routineRows);
        fixture.setTable(SupportFile::HyphenatedTbl, kAcceptedWords, LoadHyphenatedTable);
        useEngine(fixture, known, suggestions);
        EXPECT_EQ(fixture.run(row.input), row.expected) << row.input.constData();
    }
}

} // namespace

TEST(SpellCheckWord, AnswersAtMostTwoNonEmptySuggestionsCutAtTheirNul)
{
    RuleFixture fixture("");
    useEngine(fixture, { "fine" },
        { { "bad", { "first", "second", "third" } }, { "odd", { "", QString("cut") + QChar(0) + "off" } } });
    const auto said = [&](const QString& word) {
        const SpellingVerdict verdict = SpellCheckWord(fixture.state.installation->spelling, word);
        return verdict.misspelt ? "misspelt: " + verdict.suggestions : QString("fine");
    };
    EXPECT_EQ(said("fine"), "fine");
    EXPECT_EQ(said("bad"), "misspelt: first, second");
    EXPECT_EQ(said("odd"), "misspelt: cut");
    EXPECT_EQ(said("none"), "misspelt: ");
    EXPECT_EQ(said(""), "fine"); // an empty text holds no misspelt word
}

TEST(HYPHENATEDWORDCHECK, ReportsLineEndHyphenationsByWhatTheEngineSays)
{
    const QSet<QString> known = { "international" };
    const QList<RuleCase> rows = {
        // Neither the joined nor the hyphenated form is a word: always a warning.
        { "<p>qzx-\r\nvbn</p>", { "1:1 W Hyphenated word: qzx-vbn found in <p> | <p>qzx-" } },
        // A nested element is not read as part of its parent (the dispatcher
        // runs the check for it on its own); letters outside A to Z end a word.
        { "<p>see <i>inter-\r\nnational</i></p>",
            { "1:8 E Hyphenated word: inter-national found in <i> | <i>inter-" } },
    };
    expectFindings("<p> | HYPHENATEDWORDCHECK | E\r\n", rows, known, {});
}

TEST(COMPOUNDWORDCHECK, ReportsInLineCompoundsByWhatTheEngineSays)
{
    // Nothing after the hyphen, a nested element, a line-end hyphen.
    const QList<RuleCase> rows = {
        { "<p>see <i>well-known</i><b>x</b>-y</p>",
            { "1:1 W Compound Word: -y found in <p> | <p>see <i>well-known</i><b>x</b>-y</p>",
                "1:8 W Compound Word: well-known found in <i> | <i>well-known</i><b>x</b>-y</p>" } },
    };
    expectFindings("<p> | COMPOUNDWORDCHECK | E\r\n", rows, { "well-known", "-y" }, {});
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

// What the word checks read of an element: accepted entries ignore case but
// not their blanks, numbers are no words, nested elements and letters
// outside A to Z end a word, the start tag is read too, and a word with two
// hyphens is examined again from its second one. A compound the engine knows
// is a warning, one it does not is reported by severity (E here).
TEST(WordChecks, ReadTheElementTextAsExamplesShow)
{
    const QList<RuleCase> rows = {
        { "<p>MID-year, long-term</p>",
            { "1:1 E Compound Word: long-term found in <p> | <p>MID-year, long-term</p>" } },
        { "<p>a-b-c</p>",
            { "1:1 E Compound Word: a-b-c found in <p> | <p>a-b-c</p>",
                "1:1 W Compound Word: b-c found in <p> | <p>a-b-c</p>" } },
        // A number split at a line end leaves an empty word, which counts as joined.
        { "<p>1-\r\n22 and 3-4</p>", { "1:1 E Hyphenated word:  found in <p> | <p>1-" } },
        { "<p>x<i>c-d</i>-e</p>",
            { "1:1 E Compound Word: -e found in <p> | <p>x<i>c-d</i>-e</p>",
                "1:5 W Compound Word: c-d found in <i> | <i>c-d</i>-e</p>" } },
        // The removal's own marker, written in the text, reads as a removed element.
        { "<p>MteMpSEparAtor-ab<i>q</i>-c</p>",
            { "1:1 E Compound Word: -ab found in <p> | <p>MteMpSEparAtor-ab<i>q</i>-c</p>",
                "1:1 E Compound Word: -c found in <p> | <p>MteMpSEparAtor-ab<i>q</i>-c</p>" } },
        { "<p a=\"b-1\">t</p>", { "1:1 E Compound Word: b-1 found in <p a=\"b-1\"> | <p a=\"b-1\">t</p>" } },
        { "<p>caf\xe9-bar</p>", { u"1:1 E Compound Word: -bar found in <p> | <p>caf\u00e9-bar</p>"_s } },
        // The element text is kept for the other check of the same element
        // only: later elements with the same start tag are read afresh.
        { "<p>a qwzx-vbnm fact</p>\r\n<p>b</p>\r\n<p>c</p>",
            { "1:1 E Compound Word: qwzx-vbnm found in <p> | <p>a qwzx-vbnm fact</p>" } },
    };
    expectFindings(
        "<p> | HYPHENATEDWORDCHECK | E\r\n | COMPOUNDWORDCHECK | E\r\n<i> | COMPOUNDWORDCHECK | W\r\n", rows,
        { "b-c", "c-d" }, {});
}
