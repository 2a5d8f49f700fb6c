#include "core/UnitSearch.h"

#include <QString>
#include <cstdint>
#include <gtest/gtest.h>

namespace {

// The search reads eight units at a time where it can: over random texts of
// every length around that width, and from every start, it must stop where
// a plain walk stops.
TEST(UnitSearchTest, IndexOfEitherStopsWhereAPlainWalkStops)
{
    const QString alphabet = QStringLiteral("ab<>\r\n \u3c3c");
    std::uint32_t seed = 5;
    const auto next = [&seed] { return (seed = seed * 1103515245u + 12345u) >> 16; };
    for (int round = 0; round < 500; ++round) {
        QString text;
        for (std::uint32_t n = next() % 40; n > 0; --n)
            text += alphabet[qsizetype(next() % alphabet.size())];
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
