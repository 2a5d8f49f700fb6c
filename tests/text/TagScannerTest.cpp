#include "text/TagScanner.h"

#include <gtest/gtest.h>

namespace {

struct Toolkit : ::testing::Test {
    ToolkitState state;
    TagScanner xml { state };
};

} // namespace

TEST_F(Toolkit, GetTagNameFollowsItsRulesInOrder)
{
    const std::pair<QString, QString> rows[] = {
        { "<para id=\"1\">", "para" },
        { "</para>", "para" },
        { "<br/>", "br" },
        { "<a>b>", "" },
        { "&amp;", "" },
        { "</p >", "/p" },
        { "<x;y z>", "x" },
        { "<p", "" },
    };
    for (const auto& [tag, name] : rows)
        EXPECT_EQ(xml.GetTagName(tag), name) << qPrintable(tag);
}

// Names are kept and handed out shared; however many names push each other
// out, every answer stays right.
TEST_F(Toolkit, TagNamesAreSharedAndStayRightWhenPushedOut)
{
    const QString first = xml.GetTagName(u"<para id=\"1\">");
    EXPECT_TRUE(xml.GetTagName(u"</para>").isSharedWith(first));
    for (int i = 0; i < 6000; ++i) {
        const QString name = QStringLiteral("n%1").arg(i);
        ASSERT_EQ(xml.GetTagName(u'<' + name + u'>'), name);
        ASSERT_EQ(xml.GetTagName(QStringLiteral("</") + name + u'>'), name);
    }
    EXPECT_EQ(xml.GetTagName(u"<para>"), "para");
    EXPECT_TRUE(xml.GetTagName(u"<a>b>").isNull());
}

TEST_F(Toolkit, GetTagTypeAndAttributeValue)
{
    const std::pair<QString, TagKind> types[] = { { "<x/>", TagKind::Empty }, { "</x>", TagKind::End },
        { "<x>", TagKind::Start }, { "x", TagKind::None }, { "", TagKind::None }, { "<x", TagKind::None } };
    for (const auto& [tag, type] : types)
        EXPECT_EQ(xml.GetTagType(tag), type) << qPrintable(tag);

    const QString img = "<img id=\"A1\" alt=\"\" src='s' w = \"3\" open=\"x>";
    const std::pair<QString, QString> values[] = {
        { "id", "A1" },
        { "alt", "" },
        { "src", "" },
        { "w", "" },
        { "open", "" },
    };
    for (const auto& [name, value] : values)
        EXPECT_EQ(xml.GetAttributeValue(img, name), value) << qPrintable(name);
}
