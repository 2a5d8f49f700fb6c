#include "rules/TextValidity.h"

#include "support/RuleFixture.h"
#include "text/xmlClass.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

const QByteArray kHeader
    = "Condition | Value | Tag | Split | Excluded | Operator | Number | Severity | Message\r\n";

// The real driver with TEXTVALIDITY declared by the given routine rows and
// the given text-validity rows under a header line.
std::unique_ptr<RuleFixture> fixtureWith(const QByteArray& declarations, const QByteArray& rows)
{
    auto fixture = std::make_unique<RuleFixture>(declarations);
    EXPECT_TRUE(fixture->setTable(SupportFile::TextValidityTbl, kHeader + rows, LoadTextValidityTable));
    return fixture;
}

const TextValidityTable& tableOf(const RuleFixture& fixture)
{
    return *fixture.state.config.ActiveTableSet.loaded<TextValidityTable>(SupportFile::TextValidityTbl);
}

struct Case {
    const char* name;
    QByteArray rows;
    QByteArray input;
    QStringList expected;
};

void expectCases(const QByteArray& declarations, const QList<Case>& cases)
{
    for (const Case& c : cases) {
        const auto fixture = fixtureWith(declarations, c.rows);
        EXPECT_EQ(fixture->run(c.input), c.expected) << c.name;
    }
}

} // namespace

TEST(TextValidityTable, ReadsEveryColumn)
{
    const auto fixture = fixtureWith("<p> | TEXTVALIDITY | N/A\r\n",
        "Journal<space>of<hrt> | a<space>b<hrt>c<pipe> | <p id=\"x\"> | Y | fn, ,b , | !dup | 12abc | E | "
        "Two a\r\n"
        "\r\n"
        " | x | p | y | | = | -3 | W | Plain\r\n"
        " | x | </sec> | N | | > | none | W | End tag column\r\n"
        "too | few | columns\r\n"
        "a | b | c | d | e | f | g | h | i | ten\r\n");
    const TextValidityTable& table = tableOf(*fixture);
    ASSERT_EQ(table.rows.size(), 4); // the header line splits into nine columns too
    const TextValidityRow& first = table.rows[1];
    EXPECT_EQ(first.condition, "Journal of<hrt>"); // "<hrt>" stays in the condition
    EXPECT_EQ(first.valuePattern, "a b\r\nc<pipe>");
    EXPECT_EQ(first.tag, "p");
    EXPECT_TRUE(first.splitOnTags);
    EXPECT_EQ(first.excluded, (QStringList { "fn", "b" }));
    EXPECT_EQ(first.operatorText, "!dup");
    EXPECT_EQ(first.number, 12);
    EXPECT_EQ(first.severity, "E");
    EXPECT_EQ(first.message, "Two a");
    const TextValidityRow& second = table.rows[2];
    EXPECT_EQ(second.tag, "p");
    EXPECT_FALSE(second.splitOnTags); // only "Y" sets the flag
    EXPECT_TRUE(second.excluded.isEmpty());
    EXPECT_EQ(second.number, -3);
    EXPECT_EQ(table.rows[3].tag, "sec");
    EXPECT_EQ(table.rows[3].number, 0);
    EXPECT_EQ(table.index.text(), "[Tag][p][p][sec]");
    EXPECT_EQ(table.rowsByTag.value("p"), (QList<int> { 1, 2 }));
}

TEST(TEXTVALIDITY, CountOperatorsSayWhatIsWrong)
{
    // Three numbers in the element; each row reports when its relation to the number fails.
    const QByteArray input = "x <p>a1 b22 c3</p>";
    const QString finding = "1:3 E Count | <p>a1 b22 c3</p>";
    struct Row {
        QByteArray op;
        int number;
        bool reported;
    };
    const Row rows[] = {
        { "=", 3, false }, { "=", 2, true }, { "!=", 3, true }, { "!=", 2, false }, { "<", 3, true },
        { "<", 4, false }, { ">", 3, true }, { ">", 2, false }, { "=>", 4, true }, { "=>", 3, false },
        { "=<", 2, true }, { "=<", 3, false }, { "forbidden", 0, true },
        { "==", 3, true }, // any other operator forbids the pattern
    };
    for (const Row& row : rows) {
        const auto fixture = fixtureWith("<p> | TEXTVALIDITY | N/A\r\n",
            " | \\d+ | p | N | | " + row.op + " | " + QByteArray::number(row.number) + " | e | Count\r\n");
        EXPECT_EQ(fixture->run(input), row.reported ? QStringList { finding } : QStringList {})
            << row.op.constData() << " " << row.number;
    }
    expectCases("<p> | TEXTVALIDITY | N/A\r\n",
        {
            { "= 0 passes an element without the pattern", " | z | p | N | | = | 0 | E | Has z\r\n",
                "<p>a</p>", {} },
            { "= 0 reports one occurrence", " | z | p | N | | = | 0 | E | Has z\r\n", "<p>z</p>",
                { "1:1 E Has z | <p>z</p>" } },
            { "> 0 requires an occurrence", " | z | p | N | | > | 0 | W | No z\r\n", "<p>a</p>",
                { "1:1 W No z | <p>a</p>" } },
            { "a forbidden pattern that does not occur", " | z | p | N | | x | 0 | W | z\r\n", "<p>a</p>",
                {} },
            { "the current line and column of the start tag", " | z | p | N | | x | 0 | W | z\r\n",
                "<sec>\r\n  <p>z\r\nz</p> tail</sec>", { "2:3 W z | <p>z" } },
            { "an unclosed element has no content", " | a | p | N | | > | 0 | W | No a\r\n", "<p>a",
                { "1:1 W No a | <p>a" } },
        });
}

TEST(TEXTVALIDITY, RowsApplyByTagConditionAndPatternCase)
{
    expectCases("<p> | TEXTVALIDITY | N/A\r\n",
        {
            { "a row tag differing in case never applies", " | a | P | N | | > | 0 | E | No a\r\n",
                "<p>b</p>", {} },
            { "the condition ignores case", "JOURNAL<space>of | a | p | N | | > | 0 | E | No a\r\n",
                "<j>Journal Of</j><p>b</p>", { "1:18 E No a | <p>b</p>" } },
            { "a condition absent from the file skips the row", "zzz | a | p | N | | > | 0 | E | No a\r\n",
                "<p>b</p>", {} },
            { "the value pattern respects case", " | abc | p | N | | > | 0 | E | No abc\r\n", "<p>ABC</p>",
                { "1:1 E No abc | <p>ABC</p>" } },
            { "<hrt> and <space> in the value pattern", " | a<space>b<hrt>c | p | N | | = | 1 | E | One\r\n",
                "<p>a b\r\nc</p>", {} },
            { "rows run in table order, one finding each",
                " | a | p | N | | > | 5 | E | First\r\n | a | p | N | | < | 1 | W | Second\r\n", "<p>aa</p>",
                { "1:1 E First | <p>aa</p>", "1:1 W Second | <p>aa</p>" } },
            { "end tags and elements without rows are not checked", " | a | p | N | | > | 0 | E | No a\r\n",
                "<p>a<b>x</b></p>", {} },
            { "a failing pattern ends the element, earlier findings stay",
                " | a | p | N | | x | 0 | E | Has a\r\n | (?<=a)b | p | N | | x | 0 | E | Bad\r\n"
                " | a | p | N | | x | 0 | E | Again\r\n",
                "<p>a</p>", { "1:1 E Has a | <p>a</p>" } },
            { "a failing condition ends the element every time",
                "(?<=a)b | a | p | N | | x | 0 | E | Bad\r\n", "<p>a</p><p>a</p>", {} },
        });
}

TEST(TEXTVALIDITY, AFailingRowIsToldOncePerFile)
{
    const auto fixture = fixtureWith("<p> | TEXTVALIDITY | N/A\r\n",
        " | a | p | N | | x | 0 | E | Has a\r\n | (?<=a)b | p | N | | x | 0 | E | Bad\r\n");
    EXPECT_EQ(fixture->run("<p>a</p>\r\n<p>a</p>"),
        (QStringList { "1:1 E Has a | <p>a</p>", "2:1 E Has a | <p>a</p>" }));
    ASSERT_EQ(fixture->op.diagnostics.size(), 1);
    EXPECT_TRUE(fixture->op.diagnostics[0].contains("TEXTVALIDITY ended early"))
        << fixture->op.diagnostics[0].toStdString();
    EXPECT_EQ(fixture->state.checkFailures, 1);
    fixture->run("<p>a</p>");
    EXPECT_EQ(fixture->op.diagnostics.size(), 2); // a new file tells it again
}

TEST(TEXTVALIDITY, SplitFlagAndExcludedElements)
{
    expectCases("<p> | TEXTVALIDITY | N/A\r\n",
        {
            { "embedded elements count without the split flag", " | \\d+ | p | N | | = | 4 | E | Four\r\n",
                "<p>12<b>34</b>56<br/>78<i>9</p>", { "1:1 E Four | <p>12<b>34</b>56<br/>78<i>9</p>" } },
            { "the split flag turns them into bars", " | \\d+ | p | Y | | = | 4 | E | Four\r\n",
                "<p>12<b>34</b>56<br/>78<i>9</p>", {} },
            { "pieces stand apart", " | 2\\|5 | p | Y | | = | 1 | E | Bars\r\n", "<p>12<b>34</b>56</p>", {} },
            { "an excluded element inside is cut out", " | \\d | p | N | fn | = | 2 | E | Two\r\n",
                "<p>a 1<fn>2</fn> 3</p>", {} },
            { "an excluded element around skips the row", " | \\d | p | N | x, fn | = | 5 | E | Five\r\n",
                "<fn><p>1</p></fn>", {} },
            { "names of excluded elements respect case", " | \\d | p | N | FN | = | 2 | E | Two\r\n",
                "<fn><p>1<fn>2</fn>3</p></fn>", { "1:5 E Two | <p>1<fn>2</fn>3</p></fn>" } },
        });
}

TEST(TEXTVALIDITY, ValueOperatorsPlaceTheFindingAtTheValue)
{
    expectCases("<list> | TEXTVALIDITY | N/A\r\n<refs> | TEXTVALIDITY | N/A\r\n",
        {
            { "a step of +1 accepts 3, 4, 5", " | <i>(\\d+)\\. | list | N | | +1 | 0 | E | Sequence\r\n",
                "<list><i>3.</i><i>4.</i><i>5.</i></list>", {} },
            { "and reports the 7 in 3, 4, 7", " | <i>(\\d+)\\. | list | N | | +1 | 0 | E | Sequence\r\n",
                "<list><i>3.</i><i>4.</i>\r\n  <i>7.</i></list>", { "2:3 E Sequence | <i>7." } },
            { "each element starts its own sequence",
                " | <i>(\\d+)\\. | list | N | | -2 | 0 | E | Sequence\r\n",
                "<list><i>9.</i><i>7.</i></list><list><i>4.</i><i>2.</i><i>1.</i></list>",
                { "1:56 E Sequence | <i>1." } },
            { "empty values are skipped", " | <i>(\\d*)\\. | list | N | | +1 | 0 | E | Sequence\r\n",
                "<list><i>1.</i><i>.</i><i>2.</i></list>", {} },
            { "!dup reports the repeat at the first occurrence of its text",
                " | ([a-z]\\d) | refs | N | | !dup | 0 | W | Repeated\r\n", "xx<refs>a1 b2 A1 b2</refs>",
                { "1:12 W Repeated | b2" } },
            { "!dup ignores letter case", " | (\\w\\d) | refs | N | | !dup | 0 | W | Repeated\r\n",
                "xx<refs>A1 b2 a1</refs>", { "1:9 W Repeated | a1" } },
            { "!dup: values left empty never count", " | x(\\d?) | refs | N | | !dup | 0 | W | Repeated\r\n",
                "<refs>x x x1</refs>", {} },
            { "dup: all values alike, case and blanks aside",
                " | ([^;]+) | refs | N | | dup | 0 | E | Differs\r\n", "<refs>Smith; smith ; Jones</refs>",
                { "1:21 E Differs |  Jones" } },
            { "dup with alike values", " | ([^;]+) | refs | N | | dup | 0 | E | Differs\r\n",
                "<refs>Smith;SMITH</refs>", {} },
            { "a pattern without a group gives empty values",
                " | \\d | refs | N | | !dup | 0 | E | Repeated\r\n", "<refs>1 1</refs>", {} },
            { "placed after a split, at the element's text in the file",
                " | (\\d) | refs | Y | | !dup | 0 | E | Repeated\r\n", "<refs><b>xx</b>1\r\n<b>y</b>1</refs>",
                { "1:16 E Repeated | 1" } },
            { "placed after a cut", " | (\\d) | refs | N | b | !dup | 0 | E | Repeated\r\n",
                "<refs><b>1</b>2 <b>1</b>2</refs>", { "1:15 E Repeated | 2" } },
        });
}

TEST(TEXTVALIDITY, PlacedFindingsInBothColumnModes)
{
    for (const bool columnMode : { true, false }) {
        const auto fixture = fixtureWith("<list> | TEXTVALIDITY | N/A\r\n",
            " | <i>(\\d+)\\. | list | N | | +1 | 0 | E | Out of sequence\r\n");
        fixture->state.config.XYCoordinates = columnMode;
        fixture->run("<list><i>3.</i>\r\n<i>4.</i><i>7.</i></list>\r\n");
        const QString report = QString::fromUtf8(fixture->closeAndReadErrorReport());
        const QStringList lines = report.split("\r\n");
        ASSERT_GE(lines.size(), 4) << report.toStdString();
        const QString entry = lines[3];
        if (columnMode) {
            EXPECT_TRUE(entry.startsWith("0000000002 - 00010 - E / Out of sequence ")) << entry.toStdString();
            EXPECT_TRUE(entry.endsWith(" - <i>7.")) << entry.toStdString();
        } else {
            EXPECT_TRUE(entry.startsWith("0000000002   E / Out of sequence ")) << entry.toStdString();
            EXPECT_EQ(entry.indexOf("<i>7."), 103) << entry.toStdString();
        }
    }
}

TEST(TEXTVALIDITY, TheStepKeepsTheFirstValueForTheRun)
{
    const auto fixture = fixtureWith("<list> | TEXTVALIDITY | N/A\r\n",
        " | <i>(\\d+) | list | N | | +1 | 5 | E | Sequence\r\n | <i>(\\d+) | list | N | | +1 | 0 | E | "
        "Other\r\n");
    const TextValidityTable& table = tableOf(*fixture);
    const auto& numbers = fixture->state.textValidity.stepNumbers;
    fixture->run("<list><i>5</i><i>6</i></list>");
    EXPECT_FALSE(numbers.contains(&table.rows[1])); // the row's own number equals the first value
    EXPECT_EQ(numbers.value(&table.rows[2]), 5);
    fixture->run("<list><i>8</i><i>9</i></list>"); // a new file keeps it
    EXPECT_EQ(numbers.value(&table.rows[1]), 8);
    EXPECT_EQ(numbers.value(&table.rows[2]), 8);
}

TEST(TEXTVALIDITY, ArithmeticFindingsTakeColumnOne)
{
    expectCases("<tr> | TEXTVALIDITY | N/A\r\n",
        {
            { "a row whose cells add up",
                " | <td>(\\d+)</td><td>(\\d+)</td><td>(\\d+)</td> | tr | N | | @eval(=)$1+$2-$3 | 0 | E | "
                "Sum\r\n",
                "<t>\r\n  <tr><td>2</td><td>3</td><td>5</td></tr>", {} },
            { "and one that does not",
                " | <td>(\\d+)</td><td>(\\d+)</td><td>(\\d+)</td> | tr | N | | @EVAL(=)$1+$2-$3 | 0 | E | "
                "Sum\r\n",
                "<t>\r\n  <tr><td>2</td><td>3</td><td>6</td></tr>",
                { "2:1 E Sum | <tr><td>2</td><td>3</td><td>6</td></tr>" } },
        });
}

TEST(TEXTVALIDITY, EvaluatesArithmeticLeftToRight)
{
    struct Row {
        QString op;
        int number;
        QString pattern;
        QString content;
        bool holds;
    };
    const Row rows[] = {
        { "@eval(=)$1+$2", 5, R"((\d+),(\d+))", "2,3", true },
        { "@eval(=)$1+$2", 6, R"((\d+),(\d+))", "2,3", false },
        { "@eval(=)$1+$2*2", 10, R"((\d+),(\d+))", "2,3", true }, // no precedence
        { "@eval(=)-$1+10", 7, R"((\d+))", "3", true }, // a leading sign: the empty first term is 0
        { "@eval(=)$1/$2", 0, R"((\d+),(\d+))", "4,0", false }, // division by 0 never holds
        { "@eval(=)$1/$2", 2, R"((\d+),(\d+))", "5,2", false }, // division is exact
        { "@eval(=>)$", 5, R"((\d+))", "7", true }, // a bare "$" is the value
        { "@eval(=<)$", 5, R"((\d+))", "7", false },
        { "@eval(!=)$&", 5, R"(\d+)", "5", false }, // "$&" the whole match
        { "@eval(<)$", 5, R"((\d+))", "1 9", false }, // every match must hold
        { "@eval(<)$", 5, R"((\d+))", "no number", true },
        { "@eval(=)$1$2", 12, R"((\d),(\d))", "1,2", true },
        { "@eval(=)$12", 52, R"((\d+))", "5", true }, // group 12 does not exist: "$1" then "2"
        { "@eval(=)$1+[Dollar]2", 3, R"((\d+))", "3", true }, // "$2" as text reads as 0
        { "@eval()$", 3, R"((\d+))", "3", false }, // no comparison
        { "(@eval)=$1", 0, R"((\d+))", "3", false },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(EvaluateArithmetic(row.op, row.number, RegExp(row.pattern), row.content), row.holds)
            << row.op.toStdString() << " " << row.number << " on " << row.content.toStdString();
    }
}

TEST(TEXTVALIDITY, ComparesDatesWithToday)
{
    struct Row {
        QByteArray op;
        QByteArray date;
        bool reported;
    };
    const Row rows[] = {
        { "<@now", "03/14/2026", false }, { "<@now", "03/16/2026", true }, { "<@now", "2026-03-15", true },
        { "=<@NOW", "3/15/2026", false }, { "=@now", "March 15, 2026", false },
        { "=@now", "15 Mar 2026", false }, { "!=@now", "03/15/2026", true }, { ">@now", "12/31/2025", true },
        { "=>@now", "03/15/2026", false }, { "<@now", "soon", false }, // no date: nothing to compare
        { "<@now", "", false }, { "@now", "03/14/2026", true }, // no comparison left: fails
    };
    for (const Row& row : rows) {
        const auto fixture = fixtureWith("<date> | TEXTVALIDITY | N/A\r\n",
            " | ([^<]+) | date | N | | " + row.op + " | 0 | W | Future date\r\n");
        fixture->state.report.now = [] { return QDateTime(QDate(2026, 3, 15), QTime(23, 59)); };
        const QByteArray input = "  <date>" + row.date + "</date>";
        EXPECT_EQ(fixture->run(input),
            row.reported ? QStringList { "1:3 W Future date | " + QString::fromUtf8(input.mid(2)) }
                         : QStringList {})
            << row.op.constData() << " " << row.date.constData();
    }
}

TEST(TextValidityContent, SplitAndCutKeepWhereEachCharacterCameFrom)
{
    RecordingOperator op;
    RunState state { op };
    const xmlClass xml(state.toolkit);
    struct Row {
        QString content;
        QString split;
    };
    const Row splits[] = {
        { "12<b>34</b>56<br/>78<i>9", "12|56|78|9" },
        { "a</x>b", "a|b" },
        { "<b>x<b>y</b>z</b>w", "|w" }, // nested alike elements are one element
        { "a<b>x</c>y", "a|x|y" }, // a start tag without its end tag gives a bar alone
        { "a < b > c", "a < b > c" },
        { "", "" },
    };
    for (const Row& row : splits)
        EXPECT_EQ(SplitOnTags({ row.content, {} }, xml).text, row.split) << row.content.toStdString();
    const PlacedContent split = SplitOnTags({ "12<b>34</b>56", {} }, xml);
    EXPECT_EQ(split.originOf(2), 2);
    EXPECT_EQ(split.originOf(3), 11);

    struct CutRow {
        QString content;
        QString name;
        QString cut;
    };
    const CutRow cuts[] = {
        { "a<fn>1</fn>b<fn>2</fn>c", "fn", "abc" },
        { "a<fn x=\"1\">1</fn>b", "fn", "ab" },
        { "a<fn>1 b", "fn", "a<fn>1 b" }, // without its end tag nothing is cut
        { "a<FN>1</FN>b", "fn", "a<FN>1</FN>b" },
        { "a<fnx>1</fnx>b", "fn", "a<fnx>1</fnx>b" },
        { "<fn><fn>1</fn></fn>x", "fn", "x" },
    };
    for (const CutRow& row : cuts)
        EXPECT_EQ(CutElements({ row.content, {} }, row.name, xml).text, row.cut) << row.content.toStdString();
    // A cut after a cut maps through both.
    const PlacedContent both = CutElements(CutElements({ "a<x>1</x>b<y>2</y>c", {} }, "x", xml), "y", xml);
    EXPECT_EQ(both.text, "abc");
    EXPECT_EQ(both.originOf(1), 9);
    EXPECT_EQ(both.originOf(2), 18);
}

TEST(TextValidityContent, ReadsLeadingNumbers)
{
    const std::pair<QString, int> rows[] = { { "12", 12 }, { " -3x", -3 }, { "+4", 4 }, { "x1", 0 },
        { "", 0 }, { "99999999999", 2147483647 }, { "-99999999999", -2147483647 - 1 } };
    for (const auto& [text, number] : rows)
        EXPECT_EQ(LeadingNumber(text), number) << text.toStdString();
}
