#include "engine/RegExp.h"

#include "support/RandomText.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace Qt::Literals::StringLiterals;

// A shortened form of a pattern must find what its general form finds.
void expectSameMatches(const RegExp& shortened, const RegExp& general, const QString& text)
{
    const QList<RegExpMatch> expected = general.execute(text);
    const QList<RegExpMatch> found = shortened.execute(text);
    ASSERT_EQ(found.size(), expected.size())
        << shortened.pattern().toStdString() << " in " << text.toStdString();
    for (qsizetype i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].index, expected[i].index) << shortened.pattern().toStdString();
        EXPECT_EQ(found[i].value, expected[i].value) << shortened.pattern().toStdString();
        EXPECT_EQ(found[i].submatches, expected[i].submatches) << shortened.pattern().toStdString();
    }
}

// Runs `search`, which must fail with a message that holds `text`.
template <typename Search> void expectPatternError(Search search, const QString& text)
{
    try {
        search();
        ADD_FAILURE() << "no error naming " << text.toStdString();
    } catch (const PatternError& error) {
        EXPECT_TRUE(QString::fromStdString(error.what()).contains(text)) << error.what();
    }
}

struct TestCase {
    QString pattern;
    bool ignoreCase;
    QString text;
    bool expected;
};

TEST(RegExpTest, DialectOfTest)
{
    const QList<TestCase> cases {
        { u"\u00e9"_s, true, u"\u00c9"_s, true },
        // \d \w \s \b stay ASCII, also when ignore-case brings in Unicode case folding.
        { "\\d", true, u"\u0663"_s, false },
        { "\\w", true, u"\u00e9"_s, false },
        { "\\w", true, u"\u212a"_s, false },
        { "k", true, u"\u212a"_s, false },
        { "^ss$", true, u"S\u017f"_s, false },
        { "\\W", true, u"\u00e9"_s, true },
        { "\\W", true, "k", false },
        { "^\\S\\D$", true, "sK", true },
        { "^\\w+\\s\\d{2}$", false, "a_Z \t12", false },
        { "^\\w+\\s\\d{2}$", false, "a_Z\t12", true },
        { "[\\w]", true, u"\u00e9"_s, false },
        { "a\\b", true, u"a\u00e9"_s, true },
        { "a\\B", true, u"a\u00e9"_s, false },
        { "\\s", false, "\v", true },
        { "\\s", false, u"\u00a0"_s, false },
        // "." stops at line ends only.
        { "^.$", false, "\n", false },
        { "^.$", false, u"\u2028"_s, false },
        { "^.$", false, u"\u0085"_s, true },
        { "^.$", false, QString(QChar(0xD800)), true },
        // "$" only at the very end, "^" only at the very start.
        { "a$", false, "a\n", false },
        { "^b", false, "a\nb", false },
        // Escapes of the scripting dialect.
        { "^\\v$", false, "\v", true },
        { "^\\101$", false, "A", true },
        { "^\\0$", false, QString(QChar(0)), true },
        { "^\\8$", false, "8", true },
        { "^\\400$", false, " 0", true },
        { "^\\a\\e\\k$", false, "aek", true },
        { "^\\x41\\u0042$", false, "AB", true },
        { "^\\x4$", false, "x4", true },
        { "^\\u12$", false, "u12", true },
        { "^\\cJ$", false, "\n", true },
        { "^\\c1$", false, "\\c1", true },
        // Back-references: a group that took no part matches empty.
        { "^(a)?b\\1c$", false, "bc", true },
        { "^\\1(a)$", false, "a", true },
        { "^(A)\\1$", true, "aA", true },
        // Character classes.
        { "^[\\d-z]+$", false, "1-z", true },
        { "^[\\b]$", false, "\b", true },
        { "^[\\101]$", false, "A", true },
        { "^[^]$", false, "\n", true },
        { "[]", false, "a", false },
        { "^[[:alpha:]]$", false, "a]", true },
        { "^[[:alpha:]]$", false, "a", false },
        { "^[\\W]$", false, "_", false },
        // Braces that are no quantifier are literal.
        { "^a{,3}$", false, "a{,3}", true },
        { "^x{$", false, "x{", true },
        { "^a}]$", false, "a}]", true },
        { "^(?:ab)+(?=c)(?!d)", false, "ababc", true },
    };
    for (const TestCase& row : cases) {
        const RegExp expression(row.pattern, false, row.ignoreCase);
        EXPECT_EQ(expression.test(row.text), row.expected)
            << row.pattern.toStdString() << " ignoreCase=" << row.ignoreCase;
    }
}

TEST(RegExpTest, RejectedPatternsNameThePattern)
{
    // "a)(b" and "(*UTF)a" would compile inside a group, but not as written.
    const QStringList patterns { "(?<=a)b", "(?<n>a)", "(?P<n>a)", "(?>a)", "a++", "(?i)a", "(?", "a)", "[a",
        "a\\", "[z-a]", "*", "a)(b", "(*UTF)a" };
    for (const QString& pattern : patterns) {
        const RegExp expression(pattern);
        expectPatternError([&] { expression.test(u"a"); }, u'"' + pattern + u'"');
    }
}

struct ExpectedMatch {
    qsizetype index;
    QString value;
    QStringList submatches;
};

void expectMatches(const QList<RegExpMatch>& actual, const QList<ExpectedMatch>& expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (qsizetype i = 0; i < actual.size(); ++i) {
        EXPECT_EQ(actual[i].index, expected[i].index) << i;
        EXPECT_EQ(actual[i].length, expected[i].value.size()) << i;
        EXPECT_EQ(actual[i].value, expected[i].value) << i;
        EXPECT_EQ(actual[i].submatches, expected[i].submatches) << i;
    }
}

// Counting sees every match whatever the global switch says, and agrees
// with the matches a global search lists, empty ones included.
TEST(RegExpTest, CountMatchesAgreesWithExecute)
{
    for (const auto& [pattern, text] : { std::pair { u"(\\d+)-(x)?"_s, u"12- 3-x 4-"_s },
             { u"a*"_s, u"baac"_s }, { u"\\b"_s, u"ab cd"_s }, { u"z"_s, u"none"_s }, { u"."_s, u""_s } }) {
        const RegExp single(pattern, false);
        const RegExp global(pattern, true);
        EXPECT_EQ(single.countMatches(text), global.execute(text).size()) << pattern.toStdString();
    }
    // Without the global switch a search lists its first match; a group that took no part is null.
    const QList<RegExpMatch> first = RegExp("(\\d+)-(x)?", false).execute(u"12- 3-x");
    ASSERT_EQ(first.size(), 1);
    EXPECT_EQ(first[0].value, "12-");
    EXPECT_TRUE(first[0].submatches[1].isNull());
}

// A boundary before a word character is tested in a shorter way than any
// other boundary; "(?:)" after it keeps the general test, so both forms of
// each pattern must find the same matches in random texts.
TEST(RegExpTest, BoundaryBeforeAWordCharacterMatchesTheGeneralTest)
{
    const QStringList patterns { u"\\b\\w"_s, u"\\b\\w+"_s, u"\\B\\w+?"_s, u"\\b(\\w+) \\1\\b"_s,
        u"\\B(\\w)."_s, u"(\\b\\w)+"_s, u"(?=\\b\\w)."_s, u"x|\\b\\w-"_s, u"\\b(\\w|-)"_s, u"\\b(\\w+)?-"_s,
        u"\\b\\w*-"_s, u"\\b(\\w[)|]+)"_s, u"\\B(\\w(-)?)"_s };
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        const QString text = RandomText(random, int(random() % 24), u"aZ_1 -)|\u00e9");
        for (const QString& pattern : patterns) {
            const bool ignoreCase = round % 2 != 0;
            const QString general
                = QString(pattern).replace(u"\\b"_s, u"\\b(?:)"_s).replace(u"\\B"_s, u"\\B(?:)"_s);
            expectSameMatches(RegExp(pattern, true, ignoreCase), RegExp(general, true, ignoreCase), text);
        }
    }
}

// A pattern that begins with two literal characters is searched from where
// the two next stand side by side; "(?=)" in front keeps the general search,
// so both forms must find the same matches, in short and in long texts.
TEST(RegExpTest, LeadingPairSearchMatchesTheGeneralSearch)
{
    const QStringList patterns { u"  "_s, u"( )( )"_s, u"a "_s, u"(?:A1)x"_s, u"&a"_s, u"1 1"_s, u"\u00e9 "_s,
        u"\t\t"_s, u"aa"_s };
    std::mt19937 random(11);
    for (int round = 0; round < 400; ++round) {
        const QString text = RandomText(random, int(random() % 48), u"  aA1\t&x\u00e9\u00c9");
        for (const QString& pattern : patterns) {
            const bool ignoreCase = round % 2 != 0;
            expectSameMatches(
                RegExp(pattern, true, ignoreCase), RegExp(u"(?=)"_s + pattern, true, ignoreCase), text);
        }
    }
}

// A visitor may search again while its own search goes on: the inner search,
// with more groups than the outer one, must not disturb the outer matches.
TEST(RegExpTest, SearchesInsideAVisitorKeepTheOuterSearchIntact)
{
    const RegExp outer("(\\w)(\\w)", true);
    const RegExp inner("(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)(k)", true);
    QStringList seen;
    outer.visitMatches(u"ab cd ef", [&](const RegExpMatch& match) {
        EXPECT_EQ(inner.execute(u"abcdefghijk abcdefghijk").size(), 2);
        seen << match.value + match.submatches.join(u',');
    });
    EXPECT_EQ(seen, (QStringList { "aba,b", "cdc,d", "efe,f" }));
}

// Tables hand one expression to every thread of a batch, each searching its
// own file: the first searches race to compile it, and all must agree.
TEST(RegExpTest, OneExpressionSearchedFromManyThreads)
{
    for (int round = 0; round < 20; ++round) {
        const RegExp shared("(\\d+)x", true);
        std::vector<qsizetype> counts(8, -1);
        std::vector<std::thread> threads;
        for (std::size_t t = 0; t < counts.size(); ++t)
            threads.emplace_back([&, t] {
                counts[t] = shared.execute(u"1x 22x 333x"_s + QString(int(t), u' ') + u"4x"_s).size();
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(counts, std::vector<qsizetype>(8, 4));
    }
}

TEST(RegExpTest, EmptyMatchesMoveOnByOneCodeUnit)
{
    expectMatches(RegExp("a*", true).execute(u"baac"),
        { { 0, "", {} }, { 1, "aa", {} }, { 3, "", {} }, { 4, "", {} } });
    // A surrogate pair is two code units, so there are three empty matches.
    expectMatches(
        RegExp("(?:)", true).execute(u"\U0001F600"), { { 0, "", {} }, { 1, "", {} }, { 2, "", {} } });
    // After an empty match the text before it still counts for \b.
    expectMatches(RegExp("\\b", true).execute(u"ab cd"),
        { { 0, "", {} }, { 2, "", {} }, { 3, "", {} }, { 5, "", {} } });
}

TEST(RegExpTest, Replace)
{
    struct Row {
        QString pattern;
        bool global;
        bool ignoreCase;
        QString text;
        QString replacement;
        QString expected;
    };
    const QList<Row> rows {
        { "(\\w+) (\\w+)", false, false, "john smith", "$2 $1", "smith john" },
        { "a", true, false, "banana", "[$&]", "b[a]n[a]n[a]" },
        { "n", false, false, "banana", "$`|$'", "baba|anaana" },
        { "a", false, false, "xa", "$$", "x$" },
        { "(a)", false, false, "a", "$2 $0 $ $x $", "$2 $0 $ $x $" },
        { "(a)", false, false, "a", "$10 $01", "a0 a" },
        { "(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)", false, false, "abcdefghij", "$10-$01-$1", "j-a-a" },
        { "(a)|(b)", true, false, "ab", "[$1$2]", "[a][b]" },
        { "x*", true, false, "abc", "-", "-a-b-c-" },
        { "b", true, true, "abAB", "_", "a_A_" },
    };
    for (const Row& row : rows) {
        const RegExp expression(row.pattern, row.global, row.ignoreCase);
        EXPECT_EQ(expression.replace(row.text, row.replacement), row.expected) << row.pattern.toStdString();
    }
}

TEST(RegExpTest, LongElementContentMatches)
{
    QString content;
    while (content.size() < 5 * 1024 * 1024)
        content += QStringLiteral("Some element content,\r\n with\tbreaks ");
    const QString text = "<p>" + content + "</p>";
    const QList<RegExpMatch> matches = RegExp("<p>((\\S|\\s)*)</p>", true, true).execute(text);
    ASSERT_EQ(matches.size(), 1);
    EXPECT_EQ(matches[0].submatches[0].size(), content.size());
}

TEST(RegExpTest, RunawayBacktrackingFailsInsteadOfHanging)
{
    const RegExp expression("^(a+)+$");
    expectPatternError([&] { expression.test(QString(40, u'a') + u'b'); }, u"\"^(a+)+$\""_s);
}

// Each attempt stays under the match limit, but no search may run on for
// minutes: it fails once its budget is spent, whether it has matched by then
// or not. Without a budget each of these searches takes about a second.
TEST(RegExpTest, ASearchEndsOnceItsBudgetIsSpent)
{
    QString matching; // many calls, each with a match
    for (int line = 0; line < 200; ++line)
        matching += QString(24, u'a') + "b ac\r\n";
    QString neverMatching; // one call that finds nothing
    for (int run = 0; run < 1000; ++run)
        neverMatching += QString(16, u'a') + "b ";
    neverMatching += " c";
    // The budget is checked where the first choice of the pattern begins:
    // at the start, after a straight beginning, in front of alternatives.
    const QList<std::pair<QString, QString>> searches { { "(a+)+c", matching }, { "(a+)+c", neverMatching },
        { "a(a+)+c", neverMatching }, { "d|(a+)+c", neverMatching } };
    for (const auto& [pattern, text] : searches) {
        RegExp expression(pattern, true, false);
        expression.setSearchBudgetMs(0); // the text's own share alone: a few tens of milliseconds
        expectPatternError(
            [&] { expression.execute(text); }, u'"' + pattern + u"\" failed: the search took longer than"_s);
    }
    // A sound pattern over the same text stays well inside the same budget.
    RegExp sound("b ac", true, false);
    sound.setSearchBudgetMs(0);
    EXPECT_EQ(sound.execute(matching).size(), 200);
}

} // namespace
