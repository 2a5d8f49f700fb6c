#include "report/Reports.h"

#include "core/Paths.h"
#include "core/RunAborted.h"
#include "core/RunRecord.h"
#include "report/ReportFormat.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <utility>
#include <vector>

using ReportFormat::EntryKind;

namespace {

const QString kLineEnd = QStringLiteral("\r\n");
// A batch worker holds at most this much of a report for its copy; a longer
// report is copied by reading it back, as a single run copies it.
constexpr qsizetype kKeepReportBytes = 1 << 20;
const QString kProgramLogRule(45, QLatin1Char('='));
// Leads each line of a file's reports that says why its check did not finish.
const QString kCheckNotFinished = QStringLiteral("The check did not finish: ");

// An entry's write never stops validation; a failure is kept by the file and
// found when it is finished.
void writeText(QFile* file, const QString& text)
{
    if (file && file->isOpen())
        file->write(text.toUtf8());
}

void writeLine(QFile* file, const QString& line)
{
    writeText(file, line + kLineEnd);
}

std::unique_ptr<CheckedFile> openFile(const QString& path, QIODevice::OpenMode mode)
{
    auto file = std::make_unique<CheckedFile>(path);
    if (!file->open(mode))
        return nullptr;
    return file;
}

std::unique_ptr<CheckedFile> createFile(const QString& path)
{
    return openFile(path, QIODevice::WriteOnly | QIODevice::Truncate);
}

QString systemReason(int error)
{
    return qt_error_string(error);
}

// Flushes and closes the file; the reason when anything written to it since
// it was opened did not reach the file system, else empty.
QString finishFile(std::unique_ptr<CheckedFile>& file)
{
    QString failure;
    if (file && !file->finish())
        failure = file->failure();
    file.reset();
    return failure;
}

// One of the file's own outputs that is not whole: the file fails.
void noteUnwritten(ReportState& report, const QString& path, const QString& why)
{
    report.writeFailures.append(QStringLiteral("cannot write %1: %2").arg(path, why));
    report.unwrittenPaths.insert(path);
}

void finishFileOf(ReportState& report, std::unique_ptr<CheckedFile>& file)
{
    const QString path = file ? file->fileName() : QString();
    const QString failure = finishFile(file);
    if (!failure.isEmpty())
        noteUnwritten(report, path, failure);
}

// Removed and made anew rather than truncated: the file system flushes a
// file truncated to nothing when it is closed, a wait per report that a
// batch of a thousand files would feel.
void createEmptyFile(ReportState& report, const QString& path)
{
    QFile::remove(path);
    auto file = createFile(path);
    if (!file)
        noteUnwritten(report, path, QStringLiteral("cannot be created"));
    finishFileOf(report, file);
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

// A file is written under this name beside its own and renamed into place
// when it is complete: a run that is killed, refused or short of disk space
// half-way leaves the earlier file of that name as it was, never a piece.
QString partial(const QString& path)
{
    return path + QStringLiteral(".part");
}

// Closes a descriptor when it goes out of scope.
struct Descriptor {
    int fd = -1;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

// Copies the source over the destination, through a partial file renamed
// into place. With `validated`, the source must still be the file that was
// validated, before and after the bytes are copied: what is passed on is what
// was checked. Returns the reason of a failure, empty on success. Copying a
// file onto itself would empty it first, so that case is left as it is.
// Plain descriptors, because a batch makes several copies a file and QFile
// asks the file system about each file again and again.
QString copyOver(const QString& source, const QString& destination, const FileIdentity* validated = nullptr)
{
    const QString changed = QStringLiteral("%1 is no longer the file that was validated").arg(source);
    Descriptor from { ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC) };
    if (from.fd < 0)
        return validated ? changed + QStringLiteral(" (") + systemReason(errno) + QLatin1Char(')')
                         : source + QStringLiteral(": ") + systemReason(errno);
    struct stat fromStat { };
    if (::fstat(from.fd, &fromStat) != 0)
        return source + QStringLiteral(": ") + systemReason(errno);
    if (validated && FileIdentityOf(from.fd) != *validated)
        return changed;
    if (IsSameFile(source, destination))
        return {};
    const QByteArray part = QFile::encodeName(partial(destination));
    QString failure;
    {
        Descriptor to { ::open(part.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666) };
        if (to.fd < 0)
            return systemReason(errno);
        std::vector<char> buffer(std::clamp<std::size_t>(fromStat.st_size, 1, 1 << 20));
        for (off_t copied = 0;;) {
            const ssize_t got = ::read(from.fd, buffer.data(), buffer.size());
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0) {
                failure = source + QStringLiteral(": ") + systemReason(errno);
                break;
            }
            if (got == 0)
                break;
            if (!writeAll(to.fd, buffer.data(), got)) {
                failure = systemReason(errno);
                break;
            }
            // A regular file read to its size is done; the extra read to find
            // its end would cost one more call per copy.
            copied += got;
            if (S_ISREG(fromStat.st_mode) && copied >= fromStat.st_size)
                break;
        }
        ::fchmod(to.fd, fromStat.st_mode & 0777);
        const int closed = ::close(to.fd);
        to.fd = -1;
        if (failure.isEmpty() && closed != 0)
            failure = systemReason(errno);
    }
    if (failure.isEmpty() && validated && FileIdentityOf(from.fd) != *validated)
        failure = changed;
    if (failure.isEmpty() && std::rename(part.constData(), QFile::encodeName(destination).constData()) != 0)
        failure = systemReason(errno);
    if (!failure.isEmpty())
        ::unlink(part.constData());
    return failure;
}

// Writes the bytes as a new file; a file that cannot be written whole is
// not left behind.
bool writeNewFile(const QString& path, const QByteArray& bytes)
{
    const QByteArray name = QFile::encodeName(path);
    Descriptor file { ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666) };
    if (file.fd < 0)
        return false;
    bool whole = writeAll(file.fd, bytes.constData(), bytes.size());
    whole = ::close(std::exchange(file.fd, -1)) == 0 && whole;
    if (!whole)
        ::unlink(name.constData());
    return whole;
}

// A copy that is one of the file's own outputs. When it fails, an earlier
// run's file of that name goes too: it would pass for this run's.
void copyOutput(ReportState& report, const QString& source, const QString& destination,
    const FileIdentity* validated = nullptr)
{
    const QString failure = copyOver(source, destination, validated);
    if (failure.isEmpty())
        return;
    noteUnwritten(report, destination, failure);
    if (!IsSameFile(source, destination))
        QFile::remove(destination);
}

// The operator chose the original file; a copy made for the before-programs is
// not what the log should name. Batch runs may leave the copy field empty.
QString headerInputPath(const RunRecord& state)
{
    return state.currentInputPath.isEmpty() ? state.inputPath : state.currentInputPath;
}

[[noreturn]] void refuseReports(RunRecord& state)
{
    state.ui.messageBox(QStringLiteral("Error during creation of report files.\r\n"
                                       "Pls. check access rights on the paths defined in the INI file."),
        kProgramTitle, MessageIcon::Warning);
    throw RunAborted(ExitStatus::Refused, "report files cannot be created");
}

std::unique_ptr<CheckedFile> createReport(RunRecord& state, const QString& path, EntryKind kind)
{
    auto file = createFile(path);
    if (!file)
        refuseReports(state);
    ReportState& report = state.report;
    if (report.keepReportBytes) {
        const bool error = kind == EntryKind::Error;
        QByteArray& kept = error ? report.errorReportBytes : report.warningReportBytes;
        kept.clear();
        file->keepWritten(
            &kept, error ? &report.errorBytesWhole : &report.warningBytesWhole, kKeepReportBytes);
    }
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

ReportFormat::EntryTexts addEntry(RunRecord& state, EntryKind kind, std::int64_t lineNumber,
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

// After the last entry: why the check did not finish, one line each.
void writeCheckNotFinished(QFile* file, const ReportState& report)
{
    for (const QString& reason : report.checkNotFinished)
        writeLine(file, kCheckNotFinished + reason);
}

QString checkNotFinishedText(const ReportState& report)
{
    QString text;
    for (const QString& reason : report.checkNotFinished)
        text += kCheckNotFinished + reason + kLineEnd;
    return text;
}

// A report cut short takes an earlier run's report of the same name with it:
// neither may pass for this file's.
void putInPlace(ReportState& report, const QString& reportPath)
{
    const QString part = partial(reportPath);
    if (report.unwrittenPaths.contains(part)) {
        QFile::remove(part);
        QFile::remove(reportPath);
        report.unwrittenPaths.insert(reportPath);
        return;
    }
    // rename(2) replaces the old report in one step.
    if (std::rename(QFile::encodeName(part).constData(), QFile::encodeName(reportPath).constData()) != 0) {
        noteUnwritten(report, reportPath, systemReason(errno));
        QFile::remove(part);
    }
}

// A report of a file whose check did not finish is never left empty: an
// empty report is how a clean file looks.
void completeWarningReport(ReportState& report)
{
    writeCheckNotFinished(report.warningReport.get(), report);
    writeLine(report.warningReport.get(), QString());
    if (report.warningCount < 1 && report.checkNotFinished.isEmpty()) {
        finishFileOf(report, report.warningReport);
        report.warningReportBytes.clear();
        report.warningBytesWhole = true;
        createEmptyFile(report, partial(report.warningReportPath));
    } else {
        writeLine(report.warningReport.get(),
            QStringLiteral("Total No. of Warnings: ") + QString::number(report.warningCount));
        finishFileOf(report, report.warningReport);
    }
}

void finishWarningReport(ReportState& report)
{
    completeWarningReport(report);
    putInPlace(report, report.warningReportPath);
}

// The error report gets its totals after it was closed: the single-file run
// hands its editor the entries alone in between. `open` is the report while
// it is still open, or none.
void completeErrorReport(ReportState& report, std::unique_ptr<CheckedFile> open = nullptr)
{
    const QString path = partial(report.errorReportPath);
    if (report.errorCount < 1 && report.checkNotFinished.isEmpty()) {
        finishFileOf(report, open);
        report.errorReportBytes.clear();
        report.errorBytesWhole = true;
        if (!report.unwrittenPaths.contains(path))
            createEmptyFile(report, path);
        return;
    }
    if (report.unwrittenPaths.contains(path))
        return;
    if (!open) {
        open = openFile(path, QIODevice::WriteOnly | QIODevice::Append);
        // What was kept of the report before goes on; a report not kept
        // whole stays so.
        if (open && report.keepReportBytes && report.errorBytesWhole)
            open->keepWritten(&report.errorReportBytes, &report.errorBytesWhole, kKeepReportBytes);
    }
    if (!open) {
        noteUnwritten(report, path, QStringLiteral("cannot be opened again"));
        return;
    }
    writeLine(open.get(), QString());
    writeLine(open.get(), QStringLiteral("Total No. of Errors: ") + QString::number(report.errorCount));
    finishFileOf(report, open);
}

void finishErrorReport(ReportState& report)
{
    completeErrorReport(report);
    putInPlace(report, report.errorReportPath);
}

// The batch editor file stays open from file to file and is flushed after
// each; closing it only lets it go.
void closeBatchEditorFile(ReportState& report)
{
    finishFile(report.openEditorFile);
    report.openEditorPath.clear();
}

QString editorFilePath(const RunRecord& state)
{
    return state.reportFolder + QStringLiteral("error.edt");
}

void appendTotals(QFile* file, const ReportState& report)
{
    writeText(file, checkNotFinishedText(report));
    writeLine(file, QString());
    if (report.errorCount > 0)
        writeLine(file, QStringLiteral("Total No. of Errors: ") + QString::number(report.errorCount));
    if (report.warningCount > 0)
        writeLine(file, QStringLiteral("Total No. of Warnings: ") + QString::number(report.warningCount));
    if (report.errorCount == 0 && report.warningCount == 0 && report.checkNotFinished.isEmpty())
        writeLine(file, QStringLiteral("No Errors Encountered!"));
}

// The files an editor program reads beside the reports. Only the two known
// editors get one; for any other the run must not leave a stale "error.edt".
class EditorFlavour {
public:
    virtual ~EditorFlavour() = default;
    // Runs after the error report is closed and before it gets its totals.
    virtual void prepare(RunRecord& state) const { QFile::remove(editorFilePath(state)); }
    // Runs once both reports are complete.
    virtual void write(RunRecord&) const { }
};

// ZEPH: a single-file run hands it the bare error report; a batch collects
// every file's entries in one "error.edt" per report folder, emptied once at
// that folder's first file.
class ZephEditor : public EditorFlavour {
public:
    void prepare(RunRecord& state) const override
    {
        const QString editorFile = editorFilePath(state);
        if (!state.batchMode && !state.config.XYCoordinates) {
            // The entries without their totals.
            if (state.report.unwrittenPaths.contains(partial(state.report.errorReportPath)))
                QFile::remove(editorFile);
            else
                copyOutput(state.report, partial(state.report.errorReportPath), editorFile);
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

    void write(RunRecord& state) const override
    {
        if (!state.batchMode)
            return;
        ReportState& report = state.report;
        CheckedFile* file = batchEditorFile(state);
        if (!file) {
            noteUnwritten(report, editorFilePath(state), QStringLiteral("cannot be opened"));
            return;
        }
        if (state.config.XYCoordinates) {
            writeText(file, report.columnEntryText + checkNotFinishedText(report));
        } else {
            for (const WarningRecord& record : report.warningList)
                writeLine(file, record.lineField + record.messageField + record.dataField);
            appendTotals(file, report);
        }
        // Complete on disk after every file, as if it had been closed.
        if (!file->flushChecked())
            noteUnwritten(report, file->fileName(), file->failure());
    }

private:
    // Files of one report folder mostly follow one another: opening the
    // shared file again for each of them would cost more than writing it.
    static CheckedFile* batchEditorFile(RunRecord& state)
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
    void write(RunRecord& state) const override
    {
        if (state.batchMode)
            return;
        ReportState& report = state.report;
        const QString path = state.reportFolder + report.baseName + QStringLiteral(".LOG");
        auto file = createFile(path);
        if (!file) {
            noteUnwritten(report, path, QStringLiteral("cannot be created"));
            return;
        }
        writeText(file.get(),
            (state.config.XYCoordinates ? report.columnEntryText : report.plainEntryText)
                + checkNotFinishedText(report));
        finishFileOf(report, file);
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

// Where the copies of the reports go in the output folder.
QString reportCopyFolder(const RunRecord& state)
{
    QString target = state.outputFolder;
    if (!state.config.CreateLogFolder.isEmpty())
        target += state.config.CreateLogFolder + QLatin1Char('/');
    return target;
}

// A copy made ahead replaces an earlier run's copy in one step, as the
// copy made here would.
void putCopyInPlace(ReportState& report, const QString& copy)
{
    const QString part = partial(copy);
    if (std::rename(QFile::encodeName(part).constData(), QFile::encodeName(copy).constData()) == 0)
        return;
    noteUnwritten(report, copy, systemReason(errno));
    QFile::remove(part);
    QFile::remove(copy);
}

// A report that could not be written has no copy either, and an earlier
// run's copy of it goes.
void copyReportsToOutput(RunRecord& state)
{
    ReportState& report = state.report;
    const QString target = reportCopyFolder(state);
    // No separator between output folder and base name: the configured paths carry their own.
    const std::pair<QString, QString> copies[] = {
        { report.warningReportPath, target + report.baseName + QStringLiteral(".WRN") },
        { report.errorReportPath, target + report.baseName + QStringLiteral(".ERR") },
    };
    for (const auto& [reportPath, copy] : copies) {
        const bool madeAhead = report.copiesMadeAhead.contains(copy);
        if (report.unwrittenPaths.contains(reportPath)) {
            QFile::remove(copy);
            if (madeAhead)
                QFile::remove(partial(copy));
        } else if (madeAhead) {
            putCopyInPlace(report, copy);
        } else {
            copyOutput(report, reportPath, copy);
        }
    }
}

// Only a file whose check finished, whose outputs are all whole and that has
// no error passes on, and only as the very bytes that were validated.
void passInputOn(RunRecord& state)
{
    ReportState& report = state.report;
    const QString copy = state.outputFolder + state.inputFileName;
    // An earlier run's copy left beside a failed file would pass for its own.
    if (report.fileFailed() && !IsSameFile(state.inputPath, copy))
        QFile::remove(copy);
    if (report.errorCount != 0 || report.fileFailed())
        return;
    copyOutput(report, state.inputPath, copy, &report.inputIdentity);
}

void writeErrorViewBlock(RunRecord& state)
{
    const ReportState& report = state.report;
    QFile* log = report.errorViewLog.get();
    for (const QString& line :
        ReportFormat::errorViewHeader(headerInputPath(state), state.config.XYCoordinates))
        writeLine(log, line);
    if (report.errorCount == 0 && report.warningCount == 0 && report.checkNotFinished.isEmpty())
        writeLine(log, QStringLiteral("No Errors Found!"));
    else
        writeText(log,
            (state.config.XYCoordinates ? report.columnEntryText : report.plainEntryText)
                + checkNotFinishedText(report));
}

// The program logs are the whole run's: a log that cannot be written fails
// the run, told once, not every file after it.
void noteRunUnwritten(RunRecord& state, const QString& path, const QString& why)
{
    const QString failure = QStringLiteral("cannot write %1: %2").arg(path, why);
    if (state.report.runFailures.contains(failure))
        return;
    state.report.runFailures.append(failure);
    state.ui.diagnostic(failure);
}

void flushLog(RunRecord& state, CheckedFile* log)
{
    if (log && !log->flushChecked())
        noteRunUnwritten(state, log->fileName(), log->failure());
}

void finishLog(RunRecord& state, std::unique_ptr<CheckedFile>& log)
{
    const QString path = log ? log->fileName() : QString();
    const QString failure = finishFile(log);
    if (!failure.isEmpty())
        noteRunUnwritten(state, path, failure);
}

std::unique_ptr<CheckedFile> createLog(RunRecord& state, const QString& path)
{
    auto log = createFile(path);
    if (!log)
        noteRunUnwritten(state, path, QStringLiteral("cannot be created"));
    return log;
}

// The end of a file's reports, in one place for every kind of run: what
// could not be written is named, and a file that failed is counted and its
// sinks are told, before they hear that the file ended.
void endFile(RunRecord& state)
{
    ReportState& report = state.report;
    for (const QString& failure : report.writeFailures)
        state.ui.diagnostic(failure);
    if (report.fileFailed()) {
        ++report.failedFiles;
        state.findingSinks.fileFailed(report.checkNotFinished + report.writeFailures);
    }
    state.findingSinks.fileEnded();
}

} // namespace

namespace {

// A finding of the file whose reports are open: an entry in the report of
// its kind in the fixed layout, counted.
void writeFileFinding(RunRecord& state, const Finding& finding)
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
}

// A finding of a file whose entries a batch worker wrote: only the run's
// count of error entries, which the worker's run does not share, is left.
void countWrittenApart(ReportState& report, const Finding& finding)
{
    if (finding.kind == FindingKind::Error)
        ++report.runErrorEntries;
}

// A finding of the run as a whole, made after its last file: a line in the
// program log and, for an error, an error entry of the run's exit status.
void writeRunFinding(RunRecord& state, const Finding& finding)
{
    writeLine(state.report.programLog.get(), finding.message);
    if (finding.kind == FindingKind::Error)
        ++state.report.runErrorEntries;
}

// The fixed reports as one sink of the run. A finding while a file's error
// report is open belongs to that file; any other comes after the run's last
// file and goes to the program log.
class FixedReportSink : public FindingSink {
public:
    explicit FixedReportSink(RunRecord& run)
        : run_(run)
    {
    }
    void onFinding(const Finding& finding) override
    {
        if (run_.report.errorReport)
            writeFileFinding(run_, finding);
        else if (run_.report.fileWrittenApart)
            countWrittenApart(run_.report, finding);
        else
            writeRunFinding(run_, finding);
    }

private:
    RunRecord& run_;
};

void subscribeFixedReports(RunRecord& state)
{
    if (state.fixedReports)
        return;
    state.fixedReports = std::make_unique<FixedReportSink>(state);
    state.findingSinks.subscribeFirst(*state.fixedReports);
}

} // namespace

namespace {

// The names of the file's reports; taken afresh per file: a batch changes
// only the input path between files.
void nameFileReports(RunRecord& state)
{
    ReportState& report = state.report;
    state.inputFileName = InputFileNameOf(state.inputPath);
    const qsizetype dot = state.inputFileName.lastIndexOf(QLatin1Char('.'));
    report.baseName = dot < 0 ? state.inputFileName : state.inputFileName.left(dot);
    report.extension = dot < 0 ? QString() : state.inputFileName.mid(dot);
    resetFileEntries(report);
    report.errorReportPath = state.reportFolder + report.baseName + QStringLiteral(".ERR");
    report.warningReportPath = state.reportFolder + report.baseName + QStringLiteral(".WRN");
}

void createFileReports(RunRecord& state)
{
    ReportState& report = state.report;
    report.errorReport = createReport(state, partial(report.errorReportPath), EntryKind::Error);
    report.warningReport = createReport(state, partial(report.warningReportPath), EntryKind::Warning);
}

void startBatchFileInLog(RunRecord& state)
{
    state.report.fileStarted = state.report.now();
    WriteFileStartToProgramLog(state);
}

} // namespace

void OpenReports(RunRecord& state)
{
    subscribeFixedReports(state);
    nameFileReports(state);
    if (state.batchMode)
        startBatchFileInLog(state);
    createFileReports(state);
    state.findingSinks.fileStarted(headerInputPath(state));
}

void OpenFileReports(RunRecord& state)
{
    subscribeFixedReports(state);
    nameFileReports(state);
    createFileReports(state);
}

WrittenFileReports TakeWrittenReports(RunRecord& state)
{
    ReportState& report = state.report;
    WrittenFileReports written;
    written.baseName = report.baseName;
    written.extension = report.extension;
    written.errorReportPath = report.errorReportPath;
    written.warningReportPath = report.warningReportPath;
    written.errorCount = report.errorCount;
    written.warningCount = report.warningCount;
    written.plainEntryText = std::move(report.plainEntryText);
    written.columnEntryText = std::move(report.columnEntryText);
    written.warningList = std::move(report.warningList);
    written.writeFailures = std::move(report.writeFailures);
    written.unwrittenPaths = std::move(report.unwrittenPaths);
    written.fileEnded = report.fileEnded;
    written.errorReportBytes = std::move(report.errorReportBytes);
    written.warningReportBytes = std::move(report.warningReportBytes);
    written.errorBytesWhole = std::exchange(report.errorBytesWhole, false);
    written.warningBytesWhole = std::exchange(report.warningBytesWhole, false);
    report.errorReportBytes.clear();
    report.warningReportBytes.clear();
    resetFileEntries(report);
    report.startFile();
    return written;
}

void CopyReportsAhead(RunRecord& state, WrittenFileReports& written)
{
    const QString target = reportCopyFolder(state);
    // Copies that would land on the reports themselves are the run's to
    // skip, as it does when it copies. The files of a folder follow one
    // another, so the folders are compared once for all of them.
    ReportState& report = state.report;
    if (report.copyFolderComparedFor != state.reportFolder + QLatin1Char('\n') + target) {
        report.copyFolderComparedFor = state.reportFolder + QLatin1Char('\n') + target;
        report.copyFolderIsReportFolder = IsSameFile(state.reportFolder, target);
    }
    if (report.copyFolderIsReportFolder)
        return;
    const std::tuple<QString, QString, const QByteArray&, bool> copies[] = {
        { written.warningReportPath, target + written.baseName + QStringLiteral(".WRN"),
            written.warningReportBytes, written.warningBytesWhole },
        { written.errorReportPath, target + written.baseName + QStringLiteral(".ERR"),
            written.errorReportBytes, written.errorBytesWhole },
    };
    for (const auto& [reportPath, copy, bytes, whole] : copies) {
        if (!whole || written.unwrittenPaths.contains(partial(reportPath)))
            continue;
        // Made as the copy's ".part", which the run renames into place,
        // from the bytes the report was written with.
        if (writeNewFile(partial(copy), bytes))
            written.copiesMadeAhead.insert(copy);
    }
    // Done with: the outcome may wait a while for its turn.
    written.errorReportBytes = {};
    written.warningReportBytes = {};
}

void StartWrittenFile(RunRecord& state, const WrittenFileReports& written)
{
    subscribeFixedReports(state);
    ReportState& report = state.report;
    state.inputFileName = InputFileNameOf(state.inputPath);
    report.baseName = written.baseName;
    report.extension = written.extension;
    report.errorReportPath = written.errorReportPath;
    report.warningReportPath = written.warningReportPath;
    resetFileEntries(report);
    startBatchFileInLog(state);
    // The reports whose making failed were refused before anyone heard of
    // the file; the worker told the operator why.
    if (!written.opened)
        return;
    report.fileWrittenApart = true;
    state.findingSinks.fileStarted(headerInputPath(state));
}

void FinishWrittenFile(RunRecord& state, WrittenFileReports& written)
{
    ReportState& report = state.report;
    report.fileWrittenApart = false;
    report.errorCount = written.errorCount;
    report.warningCount = written.warningCount;
    report.plainEntryText = std::move(written.plainEntryText);
    report.columnEntryText = std::move(written.columnEntryText);
    report.warningList = std::move(written.warningList);
    report.writeFailures += written.writeFailures;
    report.unwrittenPaths.unite(written.unwrittenPaths);
    report.fileEnded = written.fileEnded;
    report.copiesMadeAhead = written.copiesMadeAhead;
}

void DiscardWrittenReports(const WrittenFileReports& written)
{
    if (!written.errorReportPath.isEmpty())
        QFile::remove(partial(written.errorReportPath));
    if (!written.warningReportPath.isEmpty())
        QFile::remove(partial(written.warningReportPath));
    for (const QString& copy : written.copiesMadeAhead)
        QFile::remove(partial(copy));
}

void ReportFinding(RunRecord& state, const Finding& finding)
{
    state.receiver().fileFinding(finding);
}

void DiscardReports(RunRecord& state)
{
    ReportState& report = state.report;
    const bool writtenApart = std::exchange(report.fileWrittenApart, false);
    if (!report.errorReport && !report.warningReport && !writtenApart)
        return;
    finishFile(report.errorReport);
    finishFile(report.warningReport);
    QFile::remove(partial(report.errorReportPath));
    QFile::remove(partial(report.warningReportPath));
}

void WriteFileStartToProgramLog(RunRecord& state)
{
    ReportState& report = state.report;
    writeLine(report.programLog.get(),
        QStringLiteral("Start Time  : ") + ReportFormat::clockTime(report.fileStarted));
    writeLine(report.programLog.get(), QStringLiteral("FilePath    : ") + headerInputPath(state));
}

void CompleteFileReports(RunRecord& state)
{
    ReportState& report = state.report;
    completeWarningReport(report);
    // No editor reads a batch file's entries without their totals, so they
    // go on before the report is closed instead of opening it again.
    writeCheckNotFinished(report.errorReport.get(), report);
    completeErrorReport(report, std::move(report.errorReport));
    report.fileEnded = report.now();
}

// The editor file of a batch removes or extends a file that the whole report
// folder shares, and the program logs are the whole batch's: this part runs
// for one file after another, in batch order.
void PublishFileReports(RunRecord& state)
{
    ReportState& report = state.report;
    putInPlace(report, report.warningReportPath);
    const EditorFlavour& editor = editorFlavour(state.config);
    editor.prepare(state);
    putInPlace(report, report.errorReportPath);
    editor.write(state);
    copyReportsToOutput(state);
    passInputOn(state);
    writeLine(report.programLog.get(),
        QStringLiteral("End Time    : ") + ReportFormat::clockTime(report.fileEnded));
    writeLine(report.programLog.get(), QString());
    writeErrorViewBlock(state);
    flushLog(state, report.programLog.get());
    flushLog(state, report.errorViewLog.get());
    endFile(state);
}

void CloseReports(RunRecord& state)
{
    ReportState& report = state.report;
    if (state.batchMode) {
        CompleteFileReports(state);
        PublishFileReports(state);
        return;
    }
    finishWarningReport(report);
    writeCheckNotFinished(report.errorReport.get(), report);
    finishFileOf(report, report.errorReport);
    const EditorFlavour& editor = editorFlavour(state.config);
    editor.prepare(state);
    finishErrorReport(report);
    editor.write(state);
    copyReportsToOutput(state);
    passInputOn(state);
    flushLog(state, report.programLog.get());
    flushLog(state, report.errorViewLog.get());
    endFile(state);
}

void OpenProgramLogs(RunRecord& state)
{
    subscribeFixedReports(state);
    ReportState& report = state.report;
    const QString started = QStringLiteral("Time Started: ") + ReportFormat::logDateTime(report.now());
    report.batchEditorFiles.clear();
    closeBatchEditorFile(report);
    // A log that cannot be created fails the run; the files are still validated.
    report.programLog = createLog(state, state.reportFolder + state.programName + QStringLiteral(".LOG"));
    writeLine(report.programLog.get(), kProgramTitle);
    writeLine(report.programLog.get(), started);
    writeLine(report.programLog.get(), kProgramLogRule);
    report.errorViewLog
        = createLog(state, state.workPath + state.programName + QStringLiteral("_ErrView.LOG"));
    writeLine(report.errorViewLog.get(), kProgramTitle);
    writeLine(report.errorViewLog.get(), started);
}

void ReportRunFinding(RunRecord& state, const Finding& finding)
{
    state.receiver().runFinding(finding);
}

QStringList FilesTheRunWrites(const RunRecord& state)
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
        editorFilePath(state), state.workPath + state.programName + QStringLiteral(".LOG"),
        state.workPath + state.programName + QStringLiteral("_ErrView.LOG"), state.outputFolder + name,
        copies + baseName + QStringLiteral(".ERR"), copies + baseName + QStringLiteral(".WRN") };
    if (!state.batchMode && config.EditorProgram.compare(u"KV7", Qt::CaseInsensitive) == 0)
        files << reports + QStringLiteral(".LOG");
    return files;
}

void WriteProgramLogLine(RunRecord& state, const QString& line)
{
    writeLine(state.report.programLog.get(), line);
}

void CloseProgramLogs(RunRecord& state)
{
    ReportState& report = state.report;
    const QString ended = QStringLiteral("Time Ended: ") + ReportFormat::logDateTime(report.now());
    writeLine(report.programLog.get(), kProgramLogRule);
    writeLine(report.programLog.get(), ended);
    finishLog(state, report.programLog);
    closeBatchEditorFile(report);
    if (state.batchMode) {
        writeLine(report.errorViewLog.get(), ReportFormat::errorViewRule());
        writeLine(report.errorViewLog.get(), QString());
        writeLine(report.errorViewLog.get(), ended);
    }
    finishLog(state, report.errorViewLog);
}

void RemoveLeftoverPartFiles(const QString& folder, const QSet<QString>& keep)
{
    const QFileInfoList leftovers = QDir(folder).entryInfoList(
        { QStringLiteral("*.part") }, QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& leftover : leftovers) {
        if (!keep.contains(leftover.absoluteFilePath()))
            QFile::remove(leftover.absoluteFilePath());
    }
}
