#include "core/ElementIndex.h"
#include "core/NameMemo.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <optional>
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

// The element index keeps its place among a name's tags from one question to
// the next; asked in any order, it must answer as an index asked once does.
TEST(ElementIndex, AnswersAlikeInAnyOrderOfQuestions)
{
    QString text;
    for (int i = 0; i < 40; ++i)
        text += i % 3 == 0 ? QStringLiteral("<p>a<p>b</p>c</p>") : QStringLiteral("<p x>d</p><p>");
    std::vector<qsizetype> starts;
    for (qsizetype at = text.indexOf(u"<p"); at >= 0; at = text.indexOf(u"<p", at + 1))
        starts.push_back(at);
    const QString name = QStringLiteral("p");
    const auto tagLength = [&](qsizetype at) { return text.indexOf(u'>', at) - at + 1; };
    const auto once = [&](qsizetype at) {
        const auto content = ElementIndex(text).elementContent(at, tagLength(at), name);
        return content ? std::optional(content->toString()) : std::nullopt;
    };

    std::vector<qsizetype> order = starts;
    std::vector<qsizetype> backward(starts.rbegin(), starts.rend());
    order.insert(order.end(), backward.begin(), backward.end());
    for (std::size_t k = 0; k < starts.size(); k += 7) // jumps both ways
        order.push_back(starts[(k * 13) % starts.size()]);
    const ElementIndex index(text);
    for (const qsizetype at : order) {
        const auto content = index.elementContent(at, tagLength(at), name);
        EXPECT_EQ(content ? std::optional(content->toString()) : std::nullopt, once(at)) << at;
    }
}

// Names are remembered in slots by length and outer letters, so many names
// share a slot; each must still get its own elements, asked through a string
// or through a view into the text, in turns that evict one another.
TEST(ElementIndex, AnswersEveryNameOfASharedSlot)
{
    QString text;
    QStringList names;
    for (int i = 0; i < 150; ++i)
        names.append(QStringLiteral("e%1x").arg(i, 3, 10, QLatin1Char('0')));
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < names.size(); ++i)
            text += u'<' + names[i] + u'>' + QString::number(i * 3 + round) + QStringLiteral("</") + names[i]
                + u'>';
    }
    const ElementIndex index(text);
    for (int pass = 0; pass < 2; ++pass) {
        for (qsizetype at = text.indexOf(u"<e"); at >= 0; at = text.indexOf(u"<e", at + 1)) {
            const qsizetype gt = text.indexOf(u'>', at);
            const QStringView inText = QStringView(text).sliced(at + 1, gt - at - 1);
            const QString asString = inText.toString();
            const auto content = pass == 0 ? index.elementContent(at, gt - at + 1, inText)
                                           : index.elementContent(at, gt - at + 1, asString);
            const auto fresh = ElementIndex(text).elementContent(at, gt - at + 1, asString);
            ASSERT_TRUE(content && fresh) << at;
            EXPECT_EQ(content->toString(), fresh->toString()) << at;
            EXPECT_EQ(content->data(), fresh->data()) << at;
        }
    }
}
