#include "core/TagNameIndex.h"

#include <gtest/gtest.h>

namespace {

TEST(TagNameIndexTest, IgnoresCaseAndReadsBracketsAsText)
{
    struct Row {
        QStringList tags;
        QString name;
        bool holds;
    };
    const Row rows[] = {
        { { "p", "sec" }, "SEC", true },
        { { "p", "sec" }, "p][sec", true }, // the index is text: "[p][sec]" holds "[p][sec]"
        { { "p]x" }, "P", true },
        { {}, "p", false },
        // Letter case beyond ASCII is ignored as the text search ignores it.
        { { "étude" }, "ÉTUDE", true },
        { { "k" }, "K", true }, // the Kelvin sign folds to "k"
        { { "σα" }, "ΣΑ", true },
    };
    for (const Row& row : rows) {
        TagNameIndex index;
        for (const QString& tag : row.tags)
            index.add(tag);
        EXPECT_EQ(index.holds(row.name), row.holds) << row.name.toStdString();
        EXPECT_EQ(index.holds(row.name), index.text().contains("[" + row.name + "]", Qt::CaseInsensitive));
    }
}

} // namespace
