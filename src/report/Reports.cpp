#include "report/Reports.h"

#include "core/Paths.h"
#include "core/RunAborted.h"
#include "core/RunState.h"
#include "report/ReportFormat.h"

#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using ReportFormat::EntryKind;

namespace {

const QString kLineEnd = QStringLiteral("\r\n");
const QString kProgramLogRule(45, QLatin1Char('='));

// Every write ignores its failure: a report problem must never stop validation.
void writeText(QFile* file, const QString& text)
{
    if (file && file->isOpen())
        file->write(text.toUtf8());
}

void writeLine(QFile* file, const QString& line)
{
    writeText(file, line + kLineEnd);
}

std::unique_ptr<QFile> openFile(const QString& path, QIODevice::OpenMode mode)
{
    auto file = std::make_unique<QFile>(path);
    if (!file->open(mode))
        return nullptr;
    return file;
}

std::unique_ptr<QFile> createFile(const QString& path)
{
    return openFile(path, QIODevice::WriteOnly | QIODevice::Truncate);
}

void closeFile(std::unique_ptr<QFile>& file)
{
    if (file)
        file->close();
    file.reset();
}

// Removed and made anew rather than truncated: the file system flushes a
// file truncated to nothing when it is closed, a wait per report that a
// batch of a thousand files would feel.
void createEmptyFile(const QString& path)
{
    QFile::remove(path);
    createFile(path);
}

void writeWholeFile(const QString& path, const QString& text)
{
    auto file = createFile(path);
    writeText(file.get(), text);
}

bool writeAll(int descriptor, const char* data, ssize_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        size -= written;
    }
    return true;
}

// Copies over an existing destination; a failed copy is left for the operator
// to notice, it does not stop the run. Copying a file onto itself would
// empty it first, so that case is left as it is. The destination is
// rewritten in place rather than removed and made anew: a batch copies
// thousands of reports, and creating files costs the file system far more
// than writing them. Plain descriptors, because a batch makes several copies
// a file and QFile asks the file system about each file again and again.
void copyOver(const QString& source, const QString& destination)
{
    if (IsSameFile(source, destination))
        return;
    const int from = ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC);
    if (from < 0)
        return;
    struct stat fromStat { };
    const int to = ::fstat(from, &fromStat) == 0
        ? ::open(QFile::encodeName(destination).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)
        : -1;
    if (to >= 0) {
        std::vector<char> buffer(std::clamp<std::size_t>(fromStat.st_size, 1, 1 << 20));
        for (off_t copied = 0;;) {
            const ssize_t got = ::read(from, buffer.data(), buffer.size());
            if (got <= 0 || !writeAll(to, buffer.data(), got))
                break;
            // A regular file read to its size is done; the extra read to find
            // its end would cost one more call per copy.
            copied += got;
            if (S_ISREG(fromStat.st_mode) && copied >= fromStat.st_size)
                break;
        }
        ::fchmod(to, fromStat.st_mode & 0777);
        ::close(to);
    }
    ::close(from);
}

// The operator chose the original file; a copy made for the before-programs is
// not what the log should name. Batch runs may leave the copy field empty.
QString headerInputPath(const RunState& state)
{
    return state.currentInputPath.isEmpty() ? state.inputPath : state.currentInputPath;
}

[[noreturn]] void refuseReports(RunState& state)
{
    state.ui.messageBox(QStringLiteral("Error during creation of report files.\r\n"
                                       "Pls. check access rights on the paths defined in the INI file."),
        kProgramTitle, MessageIcon::Warning);
    throw RunAborted(ExitStatus::Refused, "report files cannot be created");
}

std::unique_ptr<QFile> createReport(RunState& state, const QString& path, EntryKind kind)
{
    auto file = createFile(path);
    if (!file)
        refuseReports(state);
    for (const QString& line :
        ReportFormat::reportHeader(state.report.baseName, kind, state.config.XYCoordinates)) {
        const QByteArray bytes = (line + kLineEnd).toUtf8();
        if (file->write(bytes) != bytes.size())
            refuseReports(state);
    }
    // The headers reach the disk now, so a full or read-only disk shows at once.
    if (!file->flush())
        refuseReports(state);
    return file;
}

void resetFileEntries(ReportState& report)
{
    report.errorCount = 0;
    report.warningCount = 0;
    report.plainEntryText.clear();
    report.columnEntryText.clear();
    report.warningList.clear();
}

ReportFormat::EntryTexts addEntry(RunState& state, EntryKind kind, std::int64_t lineNumber,
    const QString& message, const QString& dataContent, std::int32_t column)
{
    ReportState& report = state.report;
    auto texts = ReportFormat::formatEntry(
        kind, lineNumber, message, dataContent, column, state.config.XYCoordinates);
    QFile* target = kind == EntryKind::Error ? report.errorReport.get() : report.warningReport.get();
    writeLine(target, texts.reportLine);
    // Only what this run's editor files and error-view log will write is
    // kept: a file with millions of findings must not hold every entry twice
    // in memory for nothing.
    const bool columns = state.config.XYCoordinates;
    const bool kv7 = state.config.EditorProgram.compare(u"KV7", Qt::CaseInsensitive) == 0;
    if (!columns && (state.batchMode || kv7))
        report.plainEntryText += texts.plainLine;
    if (columns && (state.batchMode || kv7))
        report.columnEntryText += texts.columnLine;
    return texts;
}

// A report is written under this name beside its own and renamed into place
// when it is complete: a run that is killed or refused half-way leaves the
// previous report of the same name as it was.
QString partial(const QString& reportPath)
{
    return reportPath + QStringLiteral(".part");
}

void putInPlace(const QString& reportPath)
{
    // rename(2) replaces the old report in one step.
    std::rename(
        QFile::encodeName(partial(reportPath)).constData(), QFile::encodeName(reportPath).constData());
}

void completeWarningReport(ReportState& report)
{
    writeLine(report.warningReport.get(), QString());
    if (report.warningCount < 1) {
        closeFile(report.warningReport);
        createEmptyFile(partial(report.warningReportPath));
    } else {
        writeLine(report.warningReport.get(),
            QStringLiteral("Total No. of Warnings: ") + QString::number(report.warningCount));
        closeFile(report.warningReport);
    }
}

void finishWarningReport(ReportState& report)
{
    completeWarningReport(report);
    putInPlace(report.warningReportPath);
}

// The error report gets its totals after it was closed: the single-file run
// hands its editor the entries alone in between. `open` is the report while
// it is still open, or none.
void completeErrorReport(ReportState& report, std::unique_ptr<QFile> open = nullptr)
{
    if (report.errorCount < 1) {
        open.reset();
        createEmptyFile(partial(report.errorReportPath));
        return;
    }
    if (!open)
        open = openFile(partial(report.errorReportPath), QIODevice::WriteOnly | QIODevice::Append);
    writeLine(open.get(), QString());
    writeLine(open.get(), QStringLiteral("Total No. of Errors: ") + QString::number(report.errorCount));
}

void finishErrorReport(ReportState& report)
{
    completeErrorReport(report);
    putInPlace(report.errorReportPath);
}

void closeBatchEditorFile(ReportState& report)
{
    closeFile(report.openEditorFile);
    report.openEditorPath.clear();
}

QString editorFilePath(const RunState& state)
{
    return state.reportFolder + QStringLiteral("error.edt");
}

void appendTotals(QFile* file, const ReportState& report)
{
    writeLine(file, QString());
    if (report.errorCount > 0)
        writeLine(file, QStringLiteral("Total No. of Errors: ") + QString::number(report.errorCount));
    if (report.warningCount > 0)
        writeLine(file, QStringLiteral("Total No. of Warnings: ") + QString::number(report.warningCount));
    if (report.errorCount == 0 && report.warningCount == 0)
        writeLine(file, QStringLiteral("No Errors Encountered!"));
}

// The files an editor program reads beside the reports. Only the two known
// editors get one; for any other the run must not leave a stale "error.edt".
class EditorFlavour {
public:
    virtual ~EditorFlavour() = default;
    // Runs after the error report is closed and before it gets its totals.
    virtual void prepare(RunState& state) const { QFile::remove(editorFilePath(state)); }
    // Runs once both reports are complete.
    virtual void write(RunState&) const { }
};

// ZEPH: a single-file run hands it the bare error report; a batch collects
// every file's entries in one "error.edt" per report folder, emptied once at
// that folder's first file.
class ZephEditor : public EditorFlavour {
public:
    void prepare(RunState& state) const override
    {
        const QString editorFile = editorFilePath(state);
        if (!state.batchMode && !state.config.XYCoordinates) {
            copyOver(partial(state.report.errorReportPath), editorFile); // the entries without their totals
        } else if (state.batchMode) {
            if (!state.report.batchEditorFiles.contains(editorFile)) {
                if (state.report.openEditorPath == editorFile)
                    closeBatchEditorFile(state.report);
                QFile::remove(editorFile);
                state.report.batchEditorFiles.insert(editorFile);
            }
        } else {
            QFile::remove(editorFile);
        }
    }

    void write(RunState& state) const override
    {
        if (!state.batchMode)
            return;
        const ReportState& report = state.report;
        QFile* file = batchEditorFile(state);
        if (state.config.XYCoordinates) {
            writeText(file, report.columnEntryText);
        } else {
            for (const WarningRecord& record : report.warningList)
                writeLine(file, record.lineField + record.messageField + record.dataField);
            appendTotals(file, report);
        }
        // Complete on disk after every file, as if it had been closed.
        if (file)
            file->flush();
    }

private:
    // Files of one report folder mostly follow one another: opening the
    // shared file again for each of them would cost more than writing it.
    static QFile* batchEditorFile(RunState& state)
    {
        ReportState& report = state.report;
        const QString path = editorFilePath(state);
        if (report.openEditorPath != path || !report.openEditorFile) {
            closeBatchEditorFile(report);
            report.openEditorFile = openFile(path, QIODevice::WriteOnly | QIODevice::Append);
            report.openEditorPath = path;
        }
        return report.openEditorFile.get();
    }
};

// KV7: a single-file run gets every entry of the file in "<name>.LOG".
class Kv7Editor : public EditorFlavour {
public:
    void write(RunState& state) const override
    {
        if (state.batchMode)
            return;
        const ReportState& report = state.report;
        writeWholeFile(state.reportFolder + report.baseName + QStringLiteral(".LOG"),
            state.config.XYCoordinates ? report.columnEntryText : report.plainEntryText);
    }
};

const EditorFlavour& editorFlavour(const Configuration& config)
{
    static const ZephEditor zeph;
    static const Kv7Editor kv7;
    static const EditorFlavour none;
    const QString editor = config.EditorProgram.toUpper();
    if (editor == u"ZEPH")
        return zeph;
    if (editor == u"KV7")
        return kv7;
    return none;
}

void copyReportsToOutput(const RunState& state)
{
    const ReportState& report = state.report;
    QString target = state.outputFolder;
    if (!state.config.CreateLogFolder.isEmpty())
        target += state.config.CreateLogFolder + QLatin1Char('/');
    // No separator between output folder and base name: the configured paths carry their own.
    copyOver(report.warningReportPath, target + report.baseName + QStringLiteral(".WRN"));
    copyOver(report.errorReportPath, target + report.baseName + QStringLiteral(".ERR"));
}

void writeErrorViewBlock(RunState& state)
{
    const ReportState& report = state.report;
    QFile* log = report.errorViewLog.get();
    for (const QString& line :
        ReportFormat::errorViewHeader(headerInputPath(state), state.config.XYCoordinates))
        writeLine(log, line);
    if (report.errorCount == 0 && report.warningCount == 0)
        writeLine(log, QStringLiteral("No Errors Found!"));
    else
        writeText(log, state.config.XYCoordinates ? report.columnEntryText : report.plainEntryText);
}

void flush(QFile* file)
{
    if (file && file->isOpen())
        file->flush();
}

} // namespace

void OpenReports(RunState& state)
{
    ReportState& report = state.report;
    // Taken afresh per file: a batch changes only the input path between files.
    state.inputFileName = InputFileNameOf(state.inputPath);
    const qsizetype dot = state.inputFileName.lastIndexOf(QLatin1Char('.'));
    report.baseName = dot < 0 ? state.inputFileName : state.inputFileName.left(dot);
    report.extension = dot < 0 ? QString() : state.inputFileName.mid(dot);
    resetFileEntries(report);

    if (state.batchMode) {
        report.fileStarted = report.now();
        WriteFileStartToProgramLog(state);
    }
    report.errorReportPath = state.reportFolder + report.baseName + QStringLiteral(".ERR");
    report.warningReportPath = state.reportFolder + report.baseName + QStringLiteral(".WRN");
    report.errorReport = createReport(state, partial(report.errorReportPath), EntryKind::Error);
    report.warningReport = createReport(state, partial(report.warningReportPath), EntryKind::Warning);
    state.findingSinks.fileStarted(headerInputPath(state));
}

void ReportFinding(RunState& state, const Finding& finding)
{
    ReportState& report = state.report;
    const bool error = finding.kind == FindingKind::Error;
    const auto texts = addEntry(state, error ? EntryKind::Error : EntryKind::Warning, finding.line,
        finding.message, finding.data, finding.column);
    if (error) {
        ++report.errorCount;
        ++report.runErrorEntries;
    } else {
        ++report.warningCount;
        // Only the batch editor file of the plain layout lists the warnings again.
        if (state.batchMode && !state.config.XYCoordinates
            && state.config.EditorProgram.compare(u"ZEPH", Qt::CaseInsensitive) == 0)
            report.warningList.append(texts.record);
    }
    state.findingSinks.publish(finding);
}

void WriteErrorEntry(RunState& state, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t column)
{
    ReportFinding(state,
        { FindingKind::Error, lineNumber, column, message, dataContent, QString(state.currentRoutine) });
}

void WriteWarningEntry(RunState& state, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t column)
{
    ReportFinding(state,
        { FindingKind::Warning, lineNumber, column, message, dataContent, QString(state.currentRoutine) });
}

void DiscardReports(RunState& state)
{
    ReportState& report = state.report;
    if (!report.errorReport && !report.warningReport)
        return;
    closeFile(report.errorReport);
    closeFile(report.warningReport);
    QFile::remove(partial(report.errorReportPath));
    QFile::remove(partial(report.warningReportPath));
}

void WriteFileStartToProgramLog(RunState& state)
{
    ReportState& report = state.report;
    writeLine(report.programLog.get(),
        QStringLiteral("Start Time  : ") + ReportFormat::clockTime(report.fileStarted));
    writeLine(report.programLog.get(), QStringLiteral("FilePath    : ") + headerInputPath(state));
}

void CompleteFileReports(RunState& state)
{
    ReportState& report = state.report;
    completeWarningReport(report);
    // No editor reads a batch file's entries without their totals, so they
    // go on before the report is closed instead of opening it again.
    completeErrorReport(report, std::move(report.errorReport));
    report.fileEnded = report.now();
}

// The editor file of a batch removes or extends a file that the whole report
// folder shares, and the program logs are the whole batch's: this part runs
// for one file after another, in batch order.
void PublishFileReports(RunState& state)
{
    ReportState& report = state.report;
    putInPlace(report.warningReportPath);
    const EditorFlavour& editor = editorFlavour(state.config);
    editor.prepare(state);
    putInPlace(report.errorReportPath);
    editor.write(state);
    if (report.errorCount == 0)
        copyOver(state.inputPath, state.outputFolder + state.inputFileName);
    writeLine(report.programLog.get(),
        QStringLiteral("End Time    : ") + ReportFormat::clockTime(report.fileEnded));
    writeLine(report.programLog.get(), QString());
    copyReportsToOutput(state);
    writeErrorViewBlock(state);
    flush(report.programLog.get());
    flush(report.errorViewLog.get());
    state.findingSinks.fileEnded();
}

void DiscardCompletedReports(const QString& errorReportPath, const QString& warningReportPath)
{
    QFile::remove(partial(errorReportPath));
    QFile::remove(partial(warningReportPath));
}

void CloseReports(RunState& state)
{
    ReportState& report = state.report;
    if (state.batchMode) {
        CompleteFileReports(state);
        PublishFileReports(state);
        return;
    }
    finishWarningReport(report);
    closeFile(report.errorReport);
    const EditorFlavour& editor = editorFlavour(state.config);
    editor.prepare(state);
    finishErrorReport(report);
    editor.write(state);
    if (report.errorCount == 0)
        copyOver(state.inputPath, state.outputFolder + state.inputFileName);
    copyReportsToOutput(state);
    flush(report.programLog.get());
    flush(report.errorViewLog.get());
    state.findingSinks.fileEnded();
}

void OpenProgramLogs(RunState& state)
{
    ReportState& report = state.report;
    const QString started = QStringLiteral("Time Started: ") + ReportFormat::logDateTime(report.now());
    report.batchEditorFiles.clear();
    closeBatchEditorFile(report);
    // A log that cannot be created stays unwritten; the run itself goes on.
    report.programLog = createFile(state.reportFolder + state.programName + QStringLiteral(".LOG"));
    writeLine(report.programLog.get(), kProgramTitle);
    writeLine(report.programLog.get(), started);
    writeLine(report.programLog.get(), kProgramLogRule);
    report.errorViewLog
        = createFile(state.config.WorkPath + state.programName + QStringLiteral("_ErrView.LOG"));
    writeLine(report.errorViewLog.get(), kProgramTitle);
    writeLine(report.errorViewLog.get(), started);
}

QStringList FilesTheRunWrites(const RunState& state)
{
    const Configuration& config = state.config;
    const QString name = InputFileNameOf(state.inputPath);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    const QString baseName = dot < 0 ? name : name.left(dot);
    const QString reports = state.reportFolder + baseName;
    QString copies = state.outputFolder;
    if (!config.CreateLogFolder.isEmpty())
        copies += config.CreateLogFolder + QLatin1Char('/');
    QStringList files { reports + QStringLiteral(".ERR"), reports + QStringLiteral(".WRN"),
        partial(reports + QStringLiteral(".ERR")), partial(reports + QStringLiteral(".WRN")),
        // Written or removed whichever editor is configured.
        editorFilePath(state), config.WorkPath + state.programName + QStringLiteral(".LOG"),
        config.WorkPath + state.programName + QStringLiteral("_ErrView.LOG"), state.outputFolder + name,
        copies + baseName + QStringLiteral(".ERR"), copies + baseName + QStringLiteral(".WRN") };
    if (!state.batchMode && config.EditorProgram.compare(u"KV7", Qt::CaseInsensitive) == 0)
        files << reports + QStringLiteral(".LOG");
    return files;
}

void WriteProgramLogLine(RunState& state, const QString& line)
{
    writeLine(state.report.programLog.get(), line);
}

void CloseProgramLogs(RunState& state)
{
    ReportState& report = state.report;
    const QString ended = QStringLiteral("Time Ended: ") + ReportFormat::logDateTime(report.now());
    writeLine(report.programLog.get(), kProgramLogRule);
    writeLine(report.programLog.get(), ended);
    closeFile(report.programLog);
    closeBatchEditorFile(report);
    if (state.batchMode) {
        writeLine(report.errorViewLog.get(), ReportFormat::errorViewRule());
        writeLine(report.errorViewLog.get(), QString());
        writeLine(report.errorViewLog.get(), ended);
    }
    closeFile(report.errorViewLog);
}
