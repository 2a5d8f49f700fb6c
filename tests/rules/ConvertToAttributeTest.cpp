#include "rules/ConvertToAttribute.h"

#include "support/RuleFixture.h"

#include <gtest/gtest.h>

namespace {

const QByteArray kTable = "Attribute | Value | Action | Expanded text | Severity | Where\r\n"
                          "type | fig | DELETE | Figure | E | E\r\n"
                          "type | table | COPY | Table | W | S\r\n"
                          "type | eq | COPY | Equation | e | E\r\n"
                          "type | lower | DELETE | Lower | E | s\r\n"
                          "rid |  | DELETE | Ref | W | E\r\n"
                          "type | both | DELETE | Box | E | B\r\n";

QStringList run(const QByteArray& input)
{
    RuleFixture fixture("N/A | CONVERT2ATTRIB | x\r\n");
    EXPECT_TRUE(fixture.loadTable(SupportFile::Convert2AttribTbl, kTable));
    return fixture.run(input);
}

} // namespace

TEST(CONVERT2ATTRIB, AfterTheTagTheTextMustStandFirst)
{
    const QList<std::pair<QByteArray, QStringList>> cases = {
        { R"(<xref type="fig">figure 3</xref>)",
            { R"(1:1 E Expanded value of type Found after tag | <xref type="fig">figure 3</xref>)" } },
        { R"(<xref type="FIG"><b>Figure</b> 3</xref>)",
            { R"(1:1 E Expanded value of type Found after tag | <xref type="FIG"><b>Figure</b> 3</xref>)" } },
        { R"(<xref type="fig">Fig. Figure</xref>)", {} }, { R"(<xref type="fig">Figures</xref>)", {} },
        { R"(<xref type="eq">see Equation</xref>)",
            { R"(1:1 E Expanded value of type Not Found after tag | <xref type="eq">see Equation</xref>)" } },
        { R"(<xref type="eq">3</xref>)", {} }, // absent after the tag: nothing, even for COPY
        { R"(<xref id="r1">Ref 1</xref>)",
            { R"(1:1 W Expanded value of rid Found after tag | <xref id="r1">Ref 1</xref>)" } },
        { R"(<xref rid="">Ref 1</xref>)",
            { R"(1:1 W Expanded value of rid Found after tag | <xref rid="">Ref 1</xref>)" } },
        { R"(<xref type="lower">Lower</xref>)", {} }, // "s" is not "S"
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(run(input), expected) << input.constData();
}

TEST(CONVERT2ATTRIB, BeforeTheTagTheTextMustStandLast)
{
    const QList<std::pair<QByteArray, QStringList>> cases = {
        { R"(<p>see Table <xref type="table">4</xref></p>)", {} },
        { R"(<p>see table, <b>x</b><xref type="table">4</xref></p>)",
            { R"(1:23 W Expanded value of type Not found before tag | <xref type="table">4</xref></p>)" } },
        { R"(<p>see Table 4<xref type="table">4</xref></p>)",
            { R"(1:15 W Expanded value of type Not found before tag | <xref type="table">4</xref></p>)" } },
        // The text before starts after the innermost open start tag.
        { R"(Table <p><xref type="table">4</xref></p>)",
            { R"(1:10 W Expanded value of type Not found before tag | <xref type="table">4</xref></p>)" } },
        { "Table\r\n<xref type=\"table\">4</xref>", {} },
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(run(input), expected) << input.constData();
}

TEST(CONVERT2ATTRIB, BothSidesGiveTheBeforeFindingFirst)
{
    EXPECT_EQ(run(R"(<p>Box <xref type="both">box</xref></p>)"),
        QStringList({ R"(1:8 E Expanded value of type Found before tag | <xref type="both">box</xref></p>)",
            R"(1:8 E Expanded value of type Found after tag | <xref type="both">box</xref></p>)" }));
    EXPECT_EQ(run(R"(<p>Box <xref type="both"/></p>)"),
        QStringList({ R"(1:8 E Expanded value of type Found before tag | <xref type="both"/></p>)" }));
    EXPECT_EQ(run(R"(<p>Box </xref type="both"></p>)"), QStringList());
}

TEST(CONVERT2ATTRIB, ManyTagsInOneElementReadTheirOwnPrecedingText)
{
    // The text before the tags of one element is kept and extended, and an
    // inner element has its own: each tag must still see only what stands
    // right before it.
    QByteArray input = "<body>\r\n";
    QStringList expected;
    const QByteArray tag = R"(<xref type="table">)";
    for (int i = 0; i < 40; ++i) {
        const QByteArray outer = i % 3 == 0 ? "Table" : "tables";
        const QByteArray inner = i % 2 == 0 ? "Table" : "tables";
        const QByteArray line
            = " " + outer + " " + tag + "x</xref><p id=\"p\">" + inner + " " + tag + "z</xref></p>";
        const qsizetype first = line.indexOf(tag);
        const qsizetype second = line.indexOf(tag, first + 1);
        for (const qsizetype at : { first, second }) {
            if ((at == first ? outer : inner) == "Table")
                continue;
            expected << QStringLiteral("%1:%2 W Expanded value of type Not found before tag | ")
                            .arg(i + 2)
                            .arg(at + 1)
                    + QString::fromUtf8(line.mid(at));
        }
        input += line + "\r\n";
    }
    EXPECT_EQ(run(input + "</body>"), expected);
}
