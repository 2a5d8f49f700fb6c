#include "engine/RuleHelpers.h"

#include "app/RunState.h"
#include "report/ReportFormat.h"
#include "support/RecordingOperator.h"

#include <QRandomGenerator>
#include <gtest/gtest.h>

namespace {

class RuleHelpersStateTest : public ::testing::Test {
protected:
    RecordingOperator ui;
    RunState state { ui };
};

TEST_F(RuleHelpersStateTest, DataContentAt)
{
    state.file.context.lineText = "x <p>text";
    state.file.context.linePosition = 3;
    const QList<std::pair<std::int32_t, QString>> rows {
        { 0, "<p>text" },
        { 1, "x <p>text" },
        { 6, "text" },
        { 10, "" },
        { -4, "x <p>text" },
    };
    for (const auto& [start, expected] : rows)
        EXPECT_EQ(DataContentAt(state.file, start), expected) << start;

    // A long line gives only what an entry can show anything of.
    state.file.context.lineText = QString(100, u'x') + QString(400, u'y');
    EXPECT_EQ(
        DataContentAt(state.file, 51), state.file.context.lineText.mid(50, ReportFormat::kDataSourceLength));
}

// Straight from the definition: split the prefix at every CR LF.
std::int32_t lineColumnBySplitting(const QString& text, std::int32_t offset, std::int32_t& column)
{
    const QString prefix = text.left(offset);
    if (prefix.isEmpty())
        return 1;
    const QStringList pieces = prefix.split(QStringLiteral("\r\n"));
    column = std::int32_t(pieces.last().size()) + 1;
    return std::int32_t(pieces.size());
}

TEST(RuleHelpersTest, LineColumnAtAgreesWithSplitting)
{
    QRandomGenerator random(20240611);
    const QString alphabet = QStringLiteral("a\r\n");
    for (int round = 0; round < 300; ++round) {
        QString text;
        const int length = random.bounded(40);
        for (int i = 0; i < length; ++i)
            text += alphabet[random.bounded(alphabet.size())];
        std::vector<std::int32_t> lineStarts;
        for (qsizetype at = 0; !text.isEmpty(); at = text.indexOf(u"\r\n", at) + 2) {
            lineStarts.push_back(std::int32_t(at));
            if (text.indexOf(u"\r\n", at) < 0)
                break;
        }
        for (std::int32_t offset = 0; offset <= length + 2; ++offset) {
            std::int32_t expectedColumn = -1, column = -1;
            const std::int32_t expectedLine = lineColumnBySplitting(text, offset, expectedColumn);
            ASSERT_EQ(LineColumnAt(text, lineStarts, offset, column), expectedLine) << round << ' ' << offset;
            ASSERT_EQ(column, expectedColumn) << round << ' ' << offset;
        }
    }
    // A negative offset, which the walk above never makes, is line 0 with the column untouched.
    std::int32_t column = -1;
    EXPECT_EQ(LineColumnAt(QStringLiteral("ab"), { 0 }, -1, column), 0);
    EXPECT_EQ(column, -1);
}

} // namespace
