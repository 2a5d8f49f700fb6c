#include "core/UnitSearch.h"

#include "support/RandomText.h"

#include <QString>
#include <gtest/gtest.h>

namespace {

// The search reads eight units at a time where it can: over random texts of
// every length around that width, and from every start, it must stop where
// a plain walk stops.
TEST(UnitSearchTest, IndexOfEitherStopsWhereAPlainWalkStops)
{
    std::mt19937 random(5);
    for (int round = 0; round < 500; ++round) {
        const QString text = RandomText(random, int(random() % 40), u"ab<>\r\n \u3c3c");
        const char16_t first = round % 2 ? u'<' : u'\r';
        const char16_t second = round % 3 ? u'>' : u'<';
        for (qsizetype from = 0; from <= text.size(); ++from) {
            qsizetype expected = -1;
            for (qsizetype at = from; at < text.size() && expected < 0; ++at) {
                if (text[at] == first || text[at] == second)
                    expected = at;
            }
            EXPECT_EQ(IndexOfEither(text, from, first, second), expected)
                << text.toStdString() << " from " << from;
        }
    }
}

} // namespace
