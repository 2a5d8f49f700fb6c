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
