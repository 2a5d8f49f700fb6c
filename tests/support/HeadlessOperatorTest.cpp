#include "app/HeadlessOperator.h"

#include <gtest/gtest.h>

TEST(HeadlessOperator, FormatsMessageBoxesAsOneLinePerTextLine)
{
    struct Row {
        QString text;
        MessageIcon icon;
        QString expected;
    };
    const Row rows[] = {
        { "a.xml not found!", MessageIcon::Critical, "[critical] Quorvane: a.xml not found!" },
        { "Missing Support File/s:\r\nx.tbl\r\ny.tbl", MessageIcon::Warning,
            "[warning] Quorvane: Missing Support File/s:\nx.tbl\ny.tbl" },
        { "", MessageIcon::Information, "[information] Quorvane: " },
    };
    for (const Row& row : rows)
        EXPECT_EQ(HeadlessOperator::formatMessage(row.text, kProgramTitle, row.icon), row.expected);
}
