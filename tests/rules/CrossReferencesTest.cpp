#include "rules/CrossReferences.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

TEST(CITATIONVALIDITY, CitedNumbersReadListsAndRanges)
{
    struct Row {
        QString text;
        QList<CitedRange> expected;
    };
    const QList<Row> rows = {
        { "", {} },
        { "3", { { 3, 3, 0 } } },
        { "3-5", { { 3, 5, 0 } } },
        { "b3\u2013b5, 7", { { 3, 5, 1 }, { 7, 7, 7 } } },
        { "12 - 14; 2", { { 12, 14, 0 }, { 2, 2, 9 } } },
        { "5-3", { { 3, 5, 0 } } },
        { "4-, 6", { { 4, 4, 0 }, { 6, 6, 4 } } },
    };
    for (const Row& row : rows)
        EXPECT_EQ(CitedNumbers(row.text), row.expected) << qPrintable(row.text);
}
