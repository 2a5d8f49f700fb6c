#include "report/RecordedRun.h"

#include "report/FindingOutputs.h"
#include "report/ReportFormat.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

using ReportFormat::EntryKind;

namespace {

QByteArray reportText(const QList<Finding>& findings, bool columnMode)
{
    QStringList lines = ReportFormat::reportHeader(QStringLiteral("x"), EntryKind::Error, columnMode);
    for (const Finding& f : findings) {
        const EntryKind kind = f.kind == FindingKind::Error ? EntryKind::Error : EntryKind::Warning;
        lines << ReportFormat::formatEntry(kind, f.line, f.message, f.data, f.column, columnMode).reportLine;
    }
    lines << QString() << QStringLiteral("Total No. of Errors: 1");
    return (lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n")).toUtf8();
}

Finding finding(FindingKind kind, std::int64_t line, std::int32_t column, const QString& message,
    const QString& data, const QString& routine = {})
{
    return { kind, line, column, message, data, routine };
}

// Every entry the writer can lay out reads back as the report shows it:
// the message cut to 76 (53 with columns), the data prepared, no column
// without the column layout.
TEST(RecordedRun, ReportEntriesReadBackInBothLayouts)
{
    const QString long100
        = QString(70, QLatin1Char('m')) + QStringLiteral(" - ") + QString(27, QLatin1Char('n'));
    const QList<Finding> rows = {
        finding(FindingKind::Error, 7, 12, "Bad tag", "<x>"),
        finding(FindingKind::Warning, 0, 1, long100, "a\r\nb - c  "),
        finding(FindingKind::Error, 12345678901LL, 123456, "Ends in blanks   ", ""),
        finding(FindingKind::Warning, 3, 4, "", "   data after blanks"),
    };
    for (const bool columnMode : { false, true }) {
        for (const Finding& row : rows) {
            const EntryKind kind = row.kind == FindingKind::Error ? EntryKind::Error : EntryKind::Warning;
            const QString line
                = ReportFormat::formatEntry(kind, row.line, row.message, row.data, row.column, columnMode)
                      .reportLine;
            const std::optional<Finding> read = ParseReportEntry(line);
            ASSERT_TRUE(read) << line.toStdString();
            EXPECT_EQ(read->kind, row.kind) << line.toStdString();
            EXPECT_EQ(read->line, row.line) << line.toStdString();
            EXPECT_EQ(read->column, columnMode ? row.column : 0) << line.toStdString();
            EXPECT_EQ(read->message, row.message.left(columnMode ? 53 : 76).trimmed()) << line.toStdString();
            EXPECT_EQ(read->data, ReportFormat::preparedData(row.data)) << line.toStdString();
        }
        for (const QString& other :
            ReportFormat::reportHeader(QStringLiteral("0001"), EntryKind::Warning, columnMode))
            EXPECT_FALSE(ParseReportEntry(other)) << other.toStdString();
    }
    for (const char* other : { "", "Total No. of Errors: 3", "No Errors Encountered!", "0000000001 x E / m",
             "0000000001 - 00002 W / m", "0000000001   X / m" })
        EXPECT_FALSE(ParseReportEntry(QString::fromLatin1(other))) << other;
}

// The logs name the inputs of a batch in the order validated; a report of
// the same base name in another mirrored folder gets the input of that
// folder; a single-file run's report, which no log names, finds its input
// below the input folder.
TEST(RecordedRun, WorkingFolderPairsReportsWithTheirInputs)
{
    TempDir dir;
    const Finding error = finding(FindingKind::Error, 4, 2, "Bad", "<b>");
    const Finding warning = finding(FindingKind::Warning, 9, 1, "Odd", "<o>");
    dir.write("work/j1/a.ERR", reportText({ error }, true));
    dir.write("work/j1/a.WRN", reportText({ warning, warning }, true));
    dir.write("work/j2/a.ERR", reportText({ error }, true));
    dir.write("work/j2/a.WRN", "");
    dir.write("work/b.ERR", reportText({ error }, false));
    dir.write("work/b.WRN", "");
    dir.write("work/error.edt", reportText({ error }, true));
    dir.write("work/quorvane.LOG",
        "Quorvane\r\nStart Time  : 10:00:00 AM\r\nFilePath    : /in/j2/a.xml\r\nEnd Time    : 10:00:00 "
        "AM\r\n\r\n"
        "FilePath    : /in/j1/a.xml\r\n");
    dir.write("input/deep/b.txt", "not the input: the mask says xml");
    dir.write("input/deep/er/b.xml", "<b/>");

    const RecordedRun run = ReadWorkingFolder(dir.path() + "work", { dir.path() + "input/", "|xml|" });
    ASSERT_EQ(run.error, QString());
    ASSERT_EQ(run.files.size(), 3u);
    EXPECT_EQ(run.files[0].inputPath, QString("/in/j2/a.xml"));
    EXPECT_EQ(run.files[0].findings, QList<Finding>({ error }));
    EXPECT_EQ(run.files[1].inputPath, QString("/in/j1/a.xml"));
    EXPECT_EQ(run.files[1].findings, QList<Finding>({ error, warning, warning }));
    EXPECT_EQ(run.files[1].name, QString("a.xml"));
    EXPECT_EQ(QFileInfo(run.files[2].inputPath).canonicalFilePath(),
        QFileInfo(dir.path() + "input/deep/er/b.xml").canonicalFilePath());
    EXPECT_EQ(run.files[2].findings, QList<Finding>({ finding(FindingKind::Error, 4, 0, "Bad", "<b>") }));
    EXPECT_FALSE(run.routinesKnown);
    EXPECT_EQ(run.findingCount(), 5);

    const RecordedRun unnamed = ReadWorkingFolder(dir.path() + "work");
    EXPECT_EQ(unnamed.files[2].inputPath, QString());
    EXPECT_EQ(unnamed.files[2].name, QString("b"));
    EXPECT_EQ(unnamed.notes, QStringList("no log names the input of b"));
    EXPECT_NE(ReadWorkingFolder(dir.path() + "input").error, QString());
}

TEST(RecordedRun, JsonReadsBackWhatTheRunWrote)
{
    RunFindings written;
    written.files.push_back({ "/in/a.xml",
        { finding(FindingKind::Error, 3, 7, "Bad", "<x>", "TEXTVALIDITY"),
            finding(FindingKind::Warning, 0, 1, "Many", "", "CheckMultipleHardReturns") },
        1, 1 });
    written.files.push_back({ "/in/b.xml", {}, 0, 0 });
    TempDir dir;
    const QString path = dir.write("run.json", FindingsJson(written));
    const RecordedRun run = ReadRecordedRun(path);
    ASSERT_EQ(run.error, QString());
    ASSERT_EQ(run.files.size(), 2u);
    EXPECT_EQ(run.files[0].inputPath, QString("/in/a.xml"));
    EXPECT_EQ(run.files[0].findings, written.files[0].findings);
    EXPECT_EQ(run.files[1].name, QString("b.xml"));
    EXPECT_TRUE(run.routinesKnown);

    for (const QByteArray& bad : { QByteArray("{\"files\": [ "), QByteArray("{\"tool\": 1}") })
        EXPECT_NE(ReadRecordedRun(dir.write("bad.json", bad)).error, QString()) << bad.constData();
    EXPECT_NE(ReadRecordedRun(dir.path() + "missing.json").error, QString());
}

} // namespace
