#include "report/Reports.h"

#include "app/RunState.h"
#include "core/RunAborted.h"
#include "report/ReportFormat.h"
#include "support/RecordingOperator.h"
#include "support/TempDir.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using ReportFormat::EntryKind;

// Entries as a routine's findings reach the writer, named by no routine.
void WriteErrorEntry(
    RunRecord& state, std::int64_t line, const QString& message, const QString& data, std::int32_t column)
{
    ReportFinding(state, { FindingKind::Error, line, column, message, data, QString() });
}

void WriteWarningEntry(
    RunRecord& state, std::int64_t line, const QString& message, const QString& data, std::int32_t column)
{
    ReportFinding(state, { FindingKind::Warning, line, column, message, data, QString() });
}

QString rule(int count)
{
    return QString(count, QLatin1Char('='));
}

// Lines as the report files hold them: UTF-8, each ended by CR LF.
QByteArray crlf(const QStringList& lines)
{
    QByteArray bytes;
    for (const QString& line : lines)
        bytes += (line + "\r\n").toUtf8();
    return bytes;
}

// The layouts themselves are pinned by the layout tests; here the writer
// must put them in the right files, in the right order.
ReportFormat::EntryTexts entry(EntryKind kind, int line, const QString& message, const QString& data,
    int column, bool columnMode = false)
{
    return ReportFormat::formatEntry(kind, line, message, data, column, columnMode);
}

QStringList header(EntryKind kind, const QString& base, bool columnMode)
{
    return ReportFormat::reportHeader(base, kind, columnMode);
}

// A run over temporary folders: reports in rep/, output in out/, inputs in in/.
class ReportRun : public ::testing::Test {
protected:
    ReportRun()
    {
        state.reportFolder = tmp.mkdir("rep");
        state.workPath = state.reportFolder;
        state.outputFolder = tmp.mkdir("out");
        // Each call moves the clock one second on, from just before noon.
        state.report.now
            = [this] { return QDateTime(QDate(2024, 3, 7), QTime(11, 59, 58)).addSecs(ticks++); };
    }

    QString input(const QString& name)
    {
        const QString path = tmp.write("in/" + name, "<doc>" + name.toUtf8() + "</doc>\r\n");
        state.inputPath = path;
        state.currentInputPath = path;
        // As the driver records it when it reads the input.
        state.report.inputIdentity = FileIdentityOf(path);
        return path;
    }

    QByteArray report(const QString& name) const { return TempDir::read(state.reportFolder + name); }
    QByteArray output(const QString& name) const { return TempDir::read(state.outputFolder + name); }
    bool exists(const QString& path) const { return QFileInfo::exists(path); }

    TempDir tmp;
    RecordingOperator op;
    RunState state { op };
    int ticks = 0;
};

// The KV7 log and the report layouts of both modes are in the golden runs;
// what an earlier run left in the folders is not.
TEST_F(ReportRun, SingleFileReplacesWhatAnEarlierRunLeft)
{
    state.ownInstallation().config.EditorProgram = "Kv7";
    tmp.write("rep/error.edt", "stale");
    // Copies replace longer stale ones and take their source's permissions.
    tmp.write("out/b.WRN", QByteArray(5000, 'x'));
    tmp.write("out/b.txt", QByteArray(5000, 'x'));
    const QString source = input("b.txt");
    QFile::setPermissions(source, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    OpenReports(state);
    WriteWarningEntry(state, 7, "Bad tag", "<x>", 12);
    CloseReports(state);

    EXPECT_EQ(report("b.ERR"), QByteArray()) << "a file without errors leaves an empty report";
    EXPECT_TRUE(exists(state.reportFolder + "b.ERR"));
    EXPECT_FALSE(exists(state.reportFolder + "error.edt")) << "a stale editor file is removed";
    EXPECT_EQ(output("b.txt"), TempDir::read(source)) << "an error-free input passes on";
    EXPECT_EQ(QFile::permissions(state.outputFolder + "b.txt"), QFile::permissions(source));
    EXPECT_EQ(output("b.WRN"), report("b.WRN"));
    EXPECT_EQ(state.report.runErrorEntries, 0);
}

TEST_F(ReportRun, InputAlreadyInTheOutputFolderSurvives)
{
    const QString path = tmp.write("out/d.xml", "keep me");
    state.inputPath = path;
    state.report.inputIdentity = FileIdentityOf(path);
    OpenReports(state);
    CloseReports(state);
    EXPECT_EQ(TempDir::read(path), "keep me");
    EXPECT_FALSE(state.report.fileFailed());
}

// What passes on is the file that was validated: replaced, rewritten or
// deleted after it was read, the input fails its file and nothing passes on.
TEST_F(ReportRun, AnInputThatChangedAfterItWasReadDoesNotPassOn)
{
    const std::pair<const char*, std::function<void(const QString&)>> rows[] = {
        { "replaced",
            [&](const QString& path) {
                tmp.write("in/other.xml", "<doc>unchecked</doc>\r\n");
                QFile::remove(path);
                QFile::rename(tmp.path() + "in/other.xml", path);
            } },
        { "rewritten",
            [&](const QString& path) { tmp.write("in/a.xml", "<doc>a.xml but longer</doc>\r\n"); } },
        { "deleted", [](const QString& path) { QFile::remove(path); } },
    };
    for (const auto& [name, change] : rows) {
        const QString path = input("a.xml");
        tmp.write("out/a.xml", "from an earlier run");
        state.report.startFile();
        state.report.inputIdentity = FileIdentityOf(path);
        op.diagnostics.clear();
        OpenReports(state);
        change(path);
        CloseReports(state);
        EXPECT_FALSE(exists(state.outputFolder + "a.xml")) << name;
        EXPECT_TRUE(state.report.fileFailed()) << name;
        ASSERT_EQ(op.diagnostics.size(), 1) << name;
        EXPECT_TRUE(op.diagnostics[0].contains("is no longer the file that was validated"))
            << op.diagnostics[0].toStdString();
    }
    EXPECT_EQ(state.report.failedFiles, 3);
}

TEST_F(ReportRun, UncreatableReportsEndTheRun)
{
    state.reportFolder = tmp.path() + "missing/";
    input("a.xml");
    try {
        OpenReports(state);
        FAIL() << "expected the run to end";
    } catch (const RunAborted& aborted) {
        EXPECT_EQ(aborted.exitStatus(), ExitStatus::Refused);
    }
    ASSERT_EQ(op.messages.size(), 1);
    EXPECT_EQ(op.messages[0],
        (RecordedMessage { "Error during creation of report files.\r\n"
                           "Pls. check access rights on the paths defined in the INI file.",
            "Quorvane", MessageIcon::Warning }));
}

// The layouts, the editor file and the log folder of a batch are in the
// golden runs; their clock is not, so each file's times are checked here.
TEST_F(ReportRun, BatchProgramLogTimesEachFile)
{
    state.batchMode = true;
    state.ownInstallation().programName = "qv";
    OpenProgramLogs(state);
    const QString first = input("a.xml");
    OpenReports(state);
    WriteErrorEntry(state, 2, "Bad tag", "<x>", 4);
    CloseReports(state);
    const QString second = input("b.xml");
    OpenReports(state);
    CloseReports(state);
    CloseProgramLogs(state);

    EXPECT_EQ(report("qv.LOG"),
        crlf({ "Quorvane", "Time Started: 03/07/24 11:59:58 AM", rule(45), "Start Time  : 11:59:59 AM",
            "FilePath    : " + first, "End Time    : 12:00:00 PM", "", "Start Time  : 12:00:01 PM",
            "FilePath    : " + second, "End Time    : 12:00:02 PM", "", rule(45),
            "Time Ended: 03/07/24 12:00:03 PM" }));
    EXPECT_FALSE(exists(state.outputFolder + "a.xml"));
    EXPECT_TRUE(exists(state.outputFolder + "b.xml"));
}

TEST_F(ReportRun, BatchInColumnModeCollectsColumnEntries)
{
    state.batchMode = true;
    state.ownInstallation().config.XYCoordinates = true;
    state.ownInstallation().config.EditorProgram = "Zeph";
    const QString otherFolder = tmp.mkdir("rep2");
    OpenProgramLogs(state);
    // Two report folders taking turns: each collects its own files, and is
    // complete on disk after each of them, while the batch still runs.
    const QStringList folders = { state.reportFolder, otherFolder, state.reportFolder };
    const QStringList names = { "a.xml", "b.xml", "c.xml" };
    auto located = [&](const QString& name) {
        return entry(EntryKind::Error, 7, "Bad tag", name, 12, true).reportLine;
    };
    for (int i = 0; i < names.size(); ++i) {
        state.reportFolder = folders[i];
        input(names[i]);
        OpenReports(state);
        WriteErrorEntry(state, 7, "Bad tag", names[i], 12);
        CloseReports(state);
        if (i == 0) {
            EXPECT_EQ(report("error.edt"), crlf({ located("a.xml") }));
        }
    }
    state.reportFolder = folders[0];
    CloseProgramLogs(state);

    const QString a = located("a.xml");
    const QString b = located("c.xml");
    EXPECT_EQ(report("error.edt"), crlf({ a, b }));
    EXPECT_EQ(TempDir::read(otherFolder + "error.edt"), crlf({ located("b.xml") }));
    EXPECT_EQ(report("c.ERR"),
        crlf(header(EntryKind::Error, "c", true) + QStringList { b, "", "Total No. of Errors: 1" }));
    EXPECT_TRUE(
        report(state.programName + "_ErrView.LOG")
            .contains(crlf(ReportFormat::errorViewHeader(QString(), true).mid(4) + QStringList { a })));
    EXPECT_EQ(state.report.runErrorEntries, 3);
}

} // namespace
