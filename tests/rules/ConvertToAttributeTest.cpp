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
