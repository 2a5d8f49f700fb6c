#include "rules/TextValidity.h"

#include "support/RuleFixture.h"

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

void expectCases(const QByteArray& declarations, const QList<TableCase>& cases)
{
    ExpectTableCases(declarations, SupportFile::TextValidityTbl, kHeader, cases);
}

} // namespace

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
        { "=", 3, false }, { "=", 2, true }, { "!=", 3, true }, { "<", 3, true }, { ">", 3, true },
        { "=>", 4, true }, { "=>", 3, false }, { "=<", 2, true },
        { "forbidden", 0, true }, // any other operator forbids the pattern
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
            { "the current line and column of the start tag", " | z | p | N | | x | 0 | W | z\r\n",
                "<sec>\r\n  <p>z\r\nz</p> tail</sec>", { "2:3 W z | <p>z" } },
            { "an unclosed element has no content", " | a | p | N | | > | 0 | W | No a\r\n", "<p>a",
                { "1:1 W No a | <p>a" } },
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
        });
}

TEST(TEXTVALIDITY, ValueOperatorsPlaceTheFindingAtTheValue)
{
    expectCases("<list> | TEXTVALIDITY | N/A\r\n<refs> | TEXTVALIDITY | N/A\r\n",
        {
            { "a step of +1 accepts 3, 4, 5", " | <i>(\\d+)\\. | list | N | | +1 | 0 | E | Sequence\r\n",
                "<list><i>3.</i><i>4.</i><i>5.</i></list>", {} },
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
            { "dup: all values alike, case and blanks aside",
                " | ([^;]+) | refs | N | | dup | 0 | E | Differs\r\n", "<refs>Smith; smith ; Jones</refs>",
                { "1:21 E Differs |  Jones" } },
            { "a pattern without a group gives empty values",
                " | \\d | refs | N | | !dup | 0 | E | Repeated\r\n", "<refs>1 1</refs>", {} },
            { "placed after a split, at the element's text in the file",
                " | (\\d) | refs | Y | | !dup | 0 | E | Repeated\r\n", "<refs><b>xx</b>1\r\n<b>y</b>1</refs>",
                { "1:16 E Repeated | 1" } },
            { "placed after a cut", " | (\\d) | refs | N | b | !dup | 0 | E | Repeated\r\n",
                "<refs><b>1</b>2 <b>1</b>2</refs>", { "1:15 E Repeated | 2" } },
        });
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
        { "@eval(=)$1+$2*2", 10, R"((\d+),(\d+))", "2,3", true }, // no precedence
        { "@eval(=)-$1+10", 7, R"((\d+))", "3", true }, // a leading sign: the empty first term is 0
        { "@eval(=)$1/$2", 0, R"((\d+),(\d+))", "4,0", false }, // division by 0 never holds
        { "@eval(=)$1/$2", 2, R"((\d+),(\d+))", "5,2", false }, // division is exact
        { "@eval(=>)$", 5, R"((\d+))", "7", true }, // a bare "$" is the value
        { "@eval(!=)$&", 5, R"(\d+)", "5", false }, // "$&" the whole match
        { "@eval(<)$", 5, R"((\d+))", "1 9", false }, // every match must hold
        { "@eval(=)$12", 52, R"((\d+))", "5", true }, // group 12 does not exist: "$1" then "2"
        { "@eval(=)$1+[Dollar]2", 3, R"((\d+))", "3", true }, // "$2" as text reads as 0
        { "@eval()$", 3, R"((\d+))", "3", false }, // no comparison
        { "(@eval)2+3=", 5, R"((\d+))", "7", true }, // the comparison after the parenthesis
        { "(@eval)2+3=", 6, R"((\d+))", "7", false },
        { "(@eval)$1+1=>", 5, R"((\d+))", "4", true },
        { "(@eval)$1+1=>", 5, R"((\d+))", "3", false },
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
        { "<@now", "soon", false }, // no date: nothing to compare
        { "@now", "03/14/2026", true }, // no comparison left: fails
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
