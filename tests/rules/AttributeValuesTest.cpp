#include "rules/AttributeValues.h"

#include "support/RuleFixture.h"

#include <gtest/gtest.h>

namespace {

using Case = RuleCase;

} // namespace

TEST(NOLEADZERO, ReportsEveryFaultyRow)
{
    const QString message = "Value of attribute contains leading zero: ";
    ExpectRuleCases("N/A | NOLEADZERO | e\r\n", SupportFile::NoLeadZeroTbl,
        "Tag | Attribute | Delimiters\r\n"
        "page | number | - #& ,\r\n"
        "page | start | #&-\r\n", // an empty first slot: any later 0 counts
        {
            { R"(<page number="0"/>)", { "1:1 E " + message + R"(number=0 | <page number="0"/>)" } },
            { R"(x <page number=" 12- 05 ">)",
                { "1:3 E " + message + R"(number=12- 05 | <page number=" 12- 05 ">)" } },
            { R"(<page number="12.05">)", {} },
            { R"(<page number="10" start="10">)",
                { "1:1 E " + message + R"(start=10 | <page number="10" start="10">)" } },
            { R"(<page number="01" start="0">)",
                { "1:1 E " + message + R"(number=01 | <page number="01" start="0">)",
                    "1:1 E " + message + R"(start=0 | <page number="01" start="0">)" } },
            { R"(<Page number="007">)", {} },
        });
}

TEST(NOLEADZERO, PassesOverEndTagsAndUsesTheDeclaredSeverity)
{
    RuleFixture fixture("<page> | NOLEADZERO | W\r\n");
    ASSERT_TRUE(
        fixture.loadTable(SupportFile::NoLeadZeroTbl, "Tag | Attribute | Delimiters\r\npage | n | -\r\n"));
    EXPECT_EQ(fixture.run(R"(<page n="01">a</page n="02">)"),
        QStringList {
            R"(1:1 W Value of attribute contains leading zero: n=01 | <page n="01">a</page n="02">)" });
}

TEST(ATTRIBUNCONENTITY, TakesTheKindFromTheRowMarker)
{
    ExpectRuleCases("N/A | ATTRIBUNCONENTITY | W\r\n", SupportFile::AttribUnconTbl,
        "Tag | Attribute | Search | Message\r\n"
        "fig | alt | &amp; | e / Bad entity\r\n"
        "fig | title | &# | W / Numeric entity\r\n"
        "fig | label |  | x:/Any label\r\n",
        {
            { R"(<fig alt="A &AMP; B">)", {} }, // the search respects letter case
            { R"(<fig label="1"/>)", { R"(1:1 W Any label in <fig label="1"/> | <fig label="1"/>)" } },
            { R"(<figure alt="&amp;">)", {} },
        });
}

TEST(RangeAttributes, AreMirrorImagesButNotSymmetric)
{
    struct Case {
        QByteArray input;
        QStringList range; // ATTRIBRANGEVALIDITY
        QStringList number; // ATTRIBNUMBERVALIDITY
    };
    const QString multi = "Multi-data for number attribute is not allowed ";
    const QString invalid = "Invalid range attribute value ";
    const QList<Case> cases = {
        { R"(<xref number="3-5" range="y">)", {}, {} },
        { R"(<xref number="3 TO 5" range="Y">)", {}, {} },
        { R"(<xref number="3 TO 5" range="N">)",
            { "1:1 E " + multi + R"(<xref number="3 TO 5" range="N"> | <xref number="3 TO 5" range="N">)" },
            {} },
        { R"(<xref number="3-5" range=" Y">)",
            { "1:1 E " + multi + R"(<xref number="3-5" range=" Y"> | <xref number="3-5" range=" Y">)" }, {} },
        { R"(<xref number="3" range="Y">)", {},
            { "1:1 W " + invalid + R"(<xref number="3" range="Y"> | <xref number="3" range="Y">)" } },
        { R"(<xref range="Y">)", {}, { "1:1 W " + invalid + R"(<xref range="Y"> | <xref range="Y">)" } },
        { R"(<xref number="3to5" range="n">)", {}, {} },
        { R"(</xref number="3-5">)", {}, {} },
    };
    for (const Case& c : cases) {
        RuleFixture range("N/A | ATTRIBRANGEVALIDITY | E\r\n");
        range.state.activeTables.AttribRangeSeparators = { "-", " to " };
        EXPECT_EQ(range.run(c.input), c.range) << c.input.constData();
        RuleFixture number("N/A | ATTRIBNUMBERVALIDITY | W\r\n");
        number.state.activeTables.AttribRangeSeparators = { "-", " to " };
        EXPECT_EQ(number.run(c.input), c.number) << c.input.constData();
    }
}
