#include "core/ElementIndex.h"

#include "support/RecordingOperator.h"
#include "text/xmlClass.h"

#include <gtest/gtest.h>
#include <random>

// Every start tag's element content from the index equals what GetPCDATA
// finds by searching the text from the tag, over texts full of unmatched,
// nested and look-alike tags.
TEST(ElementIndex, AgreesWithGetPCDATA)
{
    const char* pieces[] = { "<p>", "</p>", "<p id=\"1\">", "</p >", "<pp>", "</pp>", "<P>", "</P>", "<p/>",
        "<b>", "</b>", "<p", "p>", "<", ">", "x", " ", "\r\n", "<p;x>", "</>" };
    std::mt19937 random(1123);
    ToolkitState toolkit;
    const xmlClass xml(toolkit);
    for (int round = 0; round < 3000; ++round) {
        QString text;
        const int count = std::uniform_int_distribution<int>(0, 40)(random);
        for (int i = 0; i < count; ++i)
            text += QString::fromUtf8(
                pieces[std::uniform_int_distribution<int>(0, std::size(pieces) - 1)(random)]);
        const ElementIndex index(text);
        for (qsizetype lt = text.indexOf(u'<'); lt >= 0; lt = text.indexOf(u'<', lt + 1)) {
            const qsizetype gt = text.indexOf(u'>', lt);
            if (gt < 0)
                break;
            const QString tag = text.sliced(lt, gt - lt + 1);
            const QString name = xml.GetTagName(tag);
            if (xml.GetTagType(tag) != TagKind::Start || name.isEmpty() || name.contains(u'<'))
                continue;
            std::int32_t position = std::int32_t(lt + 1);
            const QString expected = xml.GetPCDATA(text, tag, "</" + name + ">", position);
            const auto content = index.elementContent(lt, tag.size(), name);
            ASSERT_EQ(content.value_or(QStringView()).toString(), expected)
                << text.toStdString() << " at " << lt;
        }
    }
}

// Many start tags that never close, then end tags: every query stays cheap.
TEST(ElementIndex, UnmatchedStartTagsAnswerEachQueryDirectly)
{
    QString text = QString("<p>x").repeated(4) + QString("</p>").repeated(2);
    const ElementIndex index(text);
    EXPECT_FALSE(index.elementContent(0, 3, "p").has_value()); // four starts, two ends
    EXPECT_FALSE(index.elementContent(4, 3, "p").has_value());
    EXPECT_EQ(index.elementContent(8, 3, "p").value().toString(), "x<p>x</p>");
    EXPECT_EQ(index.elementContent(12, 3, "p").value().toString(), "x");
}
