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

TEST_F(Toolkit, CountStrCountsOverlapsAndFindsTheFirstPosition)
{
    const std::tuple<QString, QString, int, int, int> rows[] = {
        { "a", "Aa", 0, 2, 1 },
        { "a", "Aa", -1, 1, 2 },
        { "a", "Aa", 1, 0, 0 },
        { "aa", "aaaa", -1, 3, 1 },
        { "", "abc", -1, 0, 0 },
        { "BC", "abcbc", 0, 2, 2 },
    };
    for (const auto& [search, source, matchcase, count, first] : rows)
        EXPECT_EQ(xml.CountStr(search, source, std::int16_t(matchcase)), (StringCount { count, first }))
            << qPrintable(search + "/" + source);
}

TEST_F(Toolkit, QuotedMarkupIsNotedOncePerLineAndTag)
{
    state.currentLineNumber = 4;
    const QString text = "<a t=\"x<y\">, <b u=\"1\">, <a t=\"x<y\">";
    for (auto match = xml.FindTag(text, 0); match; match = xml.FindTag(text, match->start + 1)) { }
    // The rejected "<a ...>" and the stray '<y">' (whose value runs to the next quote) are both noted;
    // '<b u="1">' holds no markup in its value, and repeats are not noted again.
    EXPECT_EQ(state.QuotedMarkupNote, "[4<a t=\"x<y\">][4<y\">]");
    state.currentLineNumber = 5;
    xml.FindTag(text, 0);
    EXPECT_EQ(state.QuotedMarkupNote, "[4<a t=\"x<y\">][4<y\">][5<a t=\"x<y\">][5<y\">]");
    xml.FindTag(u"<c d=\"x>", 0); // no closing quote anywhere: nothing to judge
    EXPECT_EQ(state.QuotedMarkupNote, "[4<a t=\"x<y\">][4<y\">][5<a t=\"x<y\">][5<y\">]");
}
