#include "app/HeadlessOperator.h"

#include <gtest/gtest.h>

// A box's lines, each icon and the title are compared whole, through the
// executable, by the golden runs of refused starts and batches; what no run
// shows is a box without text.
TEST(HeadlessOperator, AnEmptyMessageStillNamesItsIconAndTitle)
{
    EXPECT_EQ(HeadlessOperator::formatMessage("", kProgramTitle, MessageIcon::Information),
        "[information] Quorvane: ");
}

TEST(HeadlessOperator, ProgressLinesKeepTheEndOfALongLabel)
{
    const QString longPath = "/jobs/" + QString(80, 'x') + "/a.xml";
    struct Row {
        QString label;
        int percent;
        QString expected;
    };
    const Row rows[] = {
        { "", 7, "  7%" },
        { "[2/10] /in/a.xml", 100, "[2/10] /in/a.xml  100%" },
        { longPath, 50, "..." + longPath.right(67) + "   50%" },
    };
    for (const Row& row : rows)
        EXPECT_EQ(HeadlessOperator::progressLine(row.label, row.percent), row.expected);
}

TEST(HeadlessOperator, ABatchLineStaysUntilAMessageClearsIt)
{
    std::FILE* stream = std::tmpfile();
    ASSERT_NE(stream, nullptr);
    {
        HeadlessOperator ui(stream, true);
        ui.setProgressLabel("[0/2] a.xml");
        ui.setProgressRange(0, 4);
        ui.setProgressValue(4);
        ui.messageBox("done", "Complete Process", MessageIcon::Information);
    }
    std::rewind(stream);
    char buffer[512] = {};
    const std::size_t size = std::fread(buffer, 1, sizeof buffer - 1, stream);
    std::fclose(stream);
    EXPECT_EQ(QByteArray(buffer, static_cast<qsizetype>(size)),
        "\r[0/2] a.xml    0%\033[K\r[0/2] a.xml  100%\033[K\r\033[K[information] Complete Process: done\n");
}
