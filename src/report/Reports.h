#pragma once

#include "core/Finding.h"
#include "core/ReportState.h"

#include <QSet>
#include <QString>
#include <QStringList>

struct RunRecord;

// The report writer: per input file an error report (".ERR") and a warning
// report (".WRN"), the editor files, and per run the program logs.
void OpenReports(RunRecord& state);
// Writes the finding to the report of its kind in the fixed layout, counts it,
// and hands it to every subscribed sink.
void ReportFinding(RunRecord& state, const Finding& finding);
// Ends the file: totals, the editor file, the program logs, the copies in
// the output folder. A file whose check did not finish
// (report.checkNotFinished) has reports that say so before their totals, and
// a file that failed in any way (that, or an output that could not be
// written) is not passed on to the output folder: it is named, counted in
// report.failedFiles and told to the sinks. The input passes on only while
// it is still the file that was validated (report.inputIdentity).
void CloseReports(RunRecord& state);
// A batch file's CloseReports in two steps, so that files can be validated
// side by side: CompleteFileReports gives the file's own reports their totals
// (any thread, the file's own run state); PublishFileReports puts them in
// place and writes what several files share, the editor file, the program
// logs and the output copies (one file after another, in batch order).
void CompleteFileReports(RunRecord& state);
void PublishFileReports(RunRecord& state);
// A batch file's own reports written apart from the run, so that the files
// validated side by side also write their reports side by side. In a run
// state of its own (a batch worker's), OpenFileReports opens the file's
// reports, whose entries its findings write, and CompleteFileReports gives
// them their totals; TakeWrittenReports hands over what the run needs of
// them. The run, in batch order, starts the file in its program log and sinks
// (StartWrittenFile), hears the file's findings again without writing them,
// takes the written reports over (FinishWrittenFile) and publishes them
// (PublishFileReports), or drops them (DiscardReports).
struct WrittenFileReports {
    bool opened = false; // both reports were made, so the sinks hear of the file
    QString baseName;
    QString extension;
    QString errorReportPath;
    QString warningReportPath;
    std::int32_t errorCount = 0;
    std::int32_t warningCount = 0;
    QString plainEntryText;
    QString columnEntryText;
    QList<WarningRecord> warningList;
    QStringList writeFailures;
    QSet<QString> unwrittenPaths;
    QDateTime fileEnded;
    QSet<QString> copiesMadeAhead; // see CopyReportsAhead
    QByteArray errorReportBytes; // the reports as written, for their copies
    QByteArray warningReportBytes;
    bool errorBytesWhole = false; // whether they hold the whole report
    bool warningBytesWhole = false;
};
void OpenFileReports(RunRecord& state);
WrittenFileReports TakeWrittenReports(RunRecord& state);
// Copies the completed reports towards the output folder under the copies'
// names in the making, so that the run only has to put them in place; a copy
// that cannot be made so is left to the run, which makes it the usual way.
void CopyReportsAhead(RunRecord& state, WrittenFileReports& written);
void StartWrittenFile(RunRecord& state, const WrittenFileReports& written);
void FinishWrittenFile(RunRecord& state, WrittenFileReports& written);
// Removes what a worker wrote for a file the run will not publish: the
// reports and copies in the making.
void DiscardWrittenReports(const WrittenFileReports& written);
// The program log's first lines of a batch file, with report.fileStarted.
void WriteFileStartToProgramLog(RunRecord& state);
// Drops the reports of a file whose run ended before they were closed; the
// reports of an earlier run under the same names stay as they were.
void DiscardReports(RunRecord& state);
// Every file that the run writes or removes for the input of `state` (its
// path, report and output folders, batch or single-file mode): its own
// reports first (.ERR, .WRN, then the same in the making), the editor file,
// the program logs, the copies in the output folder. An input that is one
// of them would be lost before or while it is read.
QStringList FilesTheRunWrites(const RunRecord& state);
void OpenProgramLogs(RunRecord& state);
// A finding of the run as a whole, made after its last file: a line in the
// program log, a finding between files for the sinks, and, for an error,
// an error entry of the run's exit status.
void ReportRunFinding(RunRecord& state, const Finding& finding);
// A line of its own in the open program log: what a batch could not take in.
void WriteProgramLogLine(RunRecord& state, const QString& line);
void CloseProgramLogs(RunRecord& state);

// Removes what a run that was killed left half-written in the folder (files
// ending in ".part"), except the paths in `keep` (the run's own inputs).
void RemoveLeftoverPartFiles(const QString& folder, const QSet<QString>& keep);
