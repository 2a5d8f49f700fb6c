#include "engine/NameMemo.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

// A table stand-in that answers a name with its name and counts the questions.
struct CountingTable {
    QString tag;
    int asked = 0;
    QString operator()(const QString& name)
    {
        ++asked;
        return name + u'@' + tag;
    }
};

} // namespace

// More names than slots, so that names share slots; every answer must be the
// one the table gives for that very name, whatever string holds the name.
TEST(NameMemo, AnswersEachNameAsItsTableDoes)
{
    NameMemo<QString> memo;
    CountingTable first { QStringLiteral("1") };
    std::vector<QString> names;
    for (int i = 0; i < 200; ++i)
        names.push_back(QStringLiteral("tag") + QString::number(i));
    for (int pass = 0; pass < 2; ++pass) {
        for (const QString& name : names)
            EXPECT_EQ(memo.answer(&first, name, first), name + QStringLiteral("@1"));
        // The same names in strings of their own.
        for (const QString& name : names)
            EXPECT_EQ(memo.answer(&first, QString(name.constData(), name.size()), first),
                name + QStringLiteral("@1"));
    }

    // Another table: nothing the first one said stands.
    CountingTable second { QStringLiteral("2") };
    EXPECT_EQ(memo.answer(&second, names[0], second), names[0] + QStringLiteral("@2"));
    memo.forget();
    EXPECT_EQ(memo.answer(&first, names[0], first), names[0] + QStringLiteral("@1"));
}

TEST(NameMemo, AsksOnceForANameMetAgain)
{
    NameMemo<QString> memo;
    CountingTable table { QStringLiteral("t") };
    const QString name = QStringLiteral("p");
    for (int i = 0; i < 5; ++i)
        memo.answer(&table, name, table);
    EXPECT_EQ(table.asked, 1);
    memo.forget();
    memo.answer(&table, name, table);
    EXPECT_EQ(table.asked, 2);
}
