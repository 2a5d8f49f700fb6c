#include "core/ElementIndex.h"

#include <gtest/gtest.h>

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
