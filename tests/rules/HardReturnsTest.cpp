#include "rules/HardReturns.h"

#include "support/RuleFixture.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using Case = RuleCase;

const QByteArray kNoHrtTable = "Enclosing element | Element | Severity\r\n"
                               "<sec id=\"s\"> | <title> | E\r\n"
                               "<sec id=\"s\"> | <p> | W\r\n"
                               "<fig> | <caption> | E\r\n"
                               "<sec id=\"s\"> | <label> | E\r\n"
                               "<title> | <title> | e\r\n";

const QByteArray kWithHrtTable = "Tag | Position | Severity\r\n"
                                 "<fig id=\"x\"> | S | E\r\n"
                                 "</fig> | e | W\r\n"
                                 "<br/> | B | E\r\n"
                                 "<br/> | S | W\r\n"
                                 "<hr/> | X | E\r\n";

QStringList runMultiHrt(
    Switch checkSwitch, std::optional<Severity> severity, int maxCount, const QByteArray& input)
{
    RuleFixture fixture("");
    TableSet& set = fixture.state.activeTables;
    set.CheckMultiHrt = checkSwitch;
    set.MultiHrtSeverity = severity;
    set.MultiHrtMaxCount = maxCount;
    return fixture.run(input);
}

// The check read the plain way: every marker rewritten as CR LF, then a
// search for one line break more than allowed.
bool literalTooManyHardReturns(QString text, int maxCount)
{
    text.replace(QStringLiteral("<HRT/>"), QStringLiteral("\r\n"), Qt::CaseInsensitive);
    text.replace(QStringLiteral("<HRT />"), QStringLiteral("\r\n"), Qt::CaseInsensitive);
    return text.contains(QStringLiteral("\r\n").repeated(maxCount + 1));
}

} // namespace

TEST(CheckMultipleHardReturns, SwitchSeverityAndCount)
{
    EXPECT_EQ(runMultiHrt(Switch::Off, Severity::Error, 0, "a\r\n\r\n\r\nb"), QStringList());
    EXPECT_EQ(runMultiHrt(Switch::On, Severity::Error, 1, "a\r\n\r\nb"),
        QStringList { "0:1 E Consecutive hard returns exceed allowable count | Max. Count: 1" });
    EXPECT_EQ(runMultiHrt(Switch::On, std::nullopt, 0, "a\r\nb"),
        QStringList { "0:1 W Consecutive hard returns exceed allowable count | Max. Count: 0" });
    // A negative count reads as 0: any hard return is one too many.
    EXPECT_EQ(runMultiHrt(Switch::On, std::nullopt, -1, "a<HRT/>b"),
        QStringList { "0:1 W Consecutive hard returns exceed allowable count | Max. Count: -1" });
    // A huge count builds nothing of that size.
    EXPECT_EQ(
        runMultiHrt(Switch::On, std::nullopt, 1000000, QByteArray("\r\n").repeated(1000)), QStringList());
}

TEST(CheckMultipleHardReturns, AgreesWithRewritingMarkersOnRandomTexts)
{
    const QList<QByteArray> pieces = { "\r\n", "<HRT/>", "<hRt />", "\r", "x", "<HRT>", "<HRT", "/>", "<" };
    std::mt19937 rng(11);
    for (int round = 0; round < 150; ++round) {
        QByteArray input;
        const int length = int(rng() % 30);
        for (int i = 0; i < length; ++i)
            input += pieces[rng() % pieces.size()];
        const int maxCount = int(rng() % 4);
        RuleFixture fixture("");
        TableSet& set = fixture.state.activeTables;
        set.CheckMultiHrt = Switch::On;
        set.MultiHrtMaxCount = maxCount;
        const bool reported = !fixture.run(input).isEmpty();
        EXPECT_EQ(reported, literalTooManyHardReturns(fixture.state.file.wholeText, maxCount))
            << input.constData() << " max " << maxCount;
    }
}

TEST(WITHHRT, ReportsMissingHardReturnsAroundTags)
{
    ExpectRuleCases("N/A | WITHHRT | N/A\r\n", SupportFile::WithHRTDeclTbl, kWithHrtTable,
        {
            { "<fig id=\"x\">t</fig>", {} },
            { "a<fig id=\"x\">t</fig>b",
                { "1:2 E Hard Return not found before <fig id=\"x\"> | <fig id=\"x\">t</fig>b",
                    "1:15 W Hard Return not found after </fig> | </fig>b" } },
            { "a<HRT/><fig id=\"x\">t</fig><hrt />b", {} },
            { "<fig id=\"y\">a</fig>", {} }, // another tag text, another row
            { "a<fig id=\"x\"/>", {} }, // an empty tag is not the start tag's row
            { "a<br/>b",
                { "1:2 E Hard Return not found before & after <br/> | <br/>b",
                    "1:2 W Hard Return not found before <br/> | <br/>b" } },
            { "<br/>b", { "1:1 E Hard Return not found after <br/> | <br/>b" } },
            { "a<hr/>b", {} }, // an unknown position code asks for nothing
            { "line one\r\nxy <br/><HRT/>",
                { "2:4 E Hard Return not found before <br/> | <br/><HRT/>",
                    "2:4 W Hard Return not found before <br/> | <br/><HRT/>" } },
        });
}

TEST(NOHRT, LineBreaksAndMarkersInsideListedElements)
{
    ExpectRuleCases("N/A | NOHRT | N/A\r\n", SupportFile::NoHRTDeclTbl, kNoHrtTable,
        {
            { "<sec id=\"s\">\r\n  <title><i>A\r\n</i></title></sec>",
                { "2:3 E Hard Return within <title> | <title><i>A" } },
            // Only the first group of an enclosing element counts.
            { "<sec id=\"s\"><label>A\r\nB</label></sec>", {} },
            { "<fig><title>A\r\nB</title></fig>", {} },
            { "<title>A\r\nB</title>", {} }, // inside no element at all
            { "<sec id=\"s\"><title>A\r\nB", {} }, // never closed
            // A marker inside an element listed inside itself.
            { "<sec id=\"s\">A<HRT/>B</sec>", {} },
            { "<title>A<HRT>B</HRT></title>", {} },
            { "<sec id=\"s\"><title>A<HRT/>\r\nB</title></sec>",
                { "1:13 E Hard Return within <title> | <title>A<HRT/>",
                    "1:21 E <HRT/> within <title> | <HRT/>" } },
        });
}

TEST(NOHRT, MarkerStepNeedsTheParameterElementOpen)
{
    // The parameter arrives upper-cased; the element is found whatever its case.
    ExpectRuleCases("N/A | NOHRT | sec\r\n", SupportFile::NoHRTDeclTbl, kNoHrtTable,
        {
            { "<sec id=\"s\"><title>A<HRT/></title></sec>",
                { "1:21 E <HRT/> within <title> | <HRT/></title></sec>" } },
            { "<title>A<HRT/></title>", {} },
            { "<SEC><title>A<HRT/></title></SEC>",
                { "1:14 E <HRT/> within <title> | <HRT/></title></SEC>" } },
        });
}

TEST(NOHRT, NestedElementsOfOneNameFindTheirOwnEnd)
{
    RuleFixture fixture("N/A | NOHRT | N/A\r\n");
    ASSERT_TRUE(fixture.loadTable(SupportFile::NoHRTDeclTbl, "h\r\n<title> | <title> | W\r\n"));
    EXPECT_EQ(fixture.run("<title>a<title>b</title>c\r\n</title>"), QStringList());
    EXPECT_EQ(fixture.run("<title><title>a<title>b\r\n</title></title></title>"),
        QStringList({ "1:8 W Hard Return within <title> | <title>a<title>b",
            "1:16 W Hard Return within <title> | <title>b" }));
}
