#pragma once

#include "core/CheckedFile.h"
#include "core/Paths.h"

#include <QDateTime>
#include <QFile>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>

// One warning as the editor file lists it.
struct WarningRecord {
    QString lineField;
    QString messageField;
    QString dataField;
    bool operator==(const WarningRecord&) const = default;
};

// What the report writer keeps between its calls.
struct ReportState {
    QString baseName; // input file name without its last extension
    QString extension; // that extension with its ".", empty when none
    QString errorReportPath;
    QString warningReportPath;
    std::int32_t errorCount = 0; // entries written for this file
    std::int32_t warningCount = 0;
    QString plainEntryText;
    QString columnEntryText;
    QList<WarningRecord> warningList; // one record per warning, in entry order

    std::unique_ptr<CheckedFile> errorReport;
    std::unique_ptr<CheckedFile> warningReport;
    std::unique_ptr<CheckedFile> programLog;
    std::unique_ptr<CheckedFile> errorViewLog;
    // The open file's own reports were written apart, by a batch worker: the
    // run hears the file's findings again for its other outputs and counts,
    // but writes no entry of its own.
    bool fileWrittenApart = false;
    // The bytes of the file's own reports as written, kept by a batch
    // worker's run (keepReportBytes) for their copies, while they are whole
    // (a long report is read back instead of held); empty for a report left
    // empty.
    bool keepReportBytes = false;
    QByteArray errorReportBytes;
    QByteArray warningReportBytes;
    bool errorBytesWhole = false;
    bool warningBytesWhole = false;

    // Why this file's check did not finish ("ROUTINE: reason", an input
    // plug-in that failed): the reports say so, one line each before the
    // totals. Cleared by the runner at the start of every file.
    QStringList checkNotFinished;
    // What of this file's own outputs could not be written or put in place
    // ("cannot write PATH: reason"), and the paths concerned.
    QStringList writeFailures;
    QSet<QString> unwrittenPaths;
    // Copies of this file's reports in the output folder that a batch worker
    // made ahead, under their names in the making: put in place with the
    // reports, or dropped.
    QSet<QString> copiesMadeAhead;
    // The report and copy folders compared last ("REPORTS\nCOPIES") and
    // whether they were one folder, for the copies made ahead.
    QString copyFolderComparedFor;
    bool copyFolderIsReportFolder = false;
    // The input as it was when it was read for validation: what is passed on
    // to the output folder must still be that file.
    FileIdentity inputIdentity;
    bool fileFailed() const { return !checkNotFinished.isEmpty() || !writeFailures.isEmpty(); }
    // A check of this file that ended early, as its reports name it.
    void noteCheckNotFinished(const QString& routine, const QString& reason)
    {
        checkNotFinished.append(routine + QStringLiteral(": ") + reason);
    }
    void startFile()
    {
        checkNotFinished.clear();
        writeFailures.clear();
        unwrittenPaths.clear();
        copiesMadeAhead.clear();
        inputIdentity = {};
    }
    // Failures of the run outside any file's check (program logs that could
    // not be written, after-programs that failed): they fail the run.
    QStringList runFailures;
    int failedFiles = 0; // files of the run that failed

    // Batch editor files already started in this batch: each is emptied once,
    // at its first file, and then collects the rest of the batch.
    QSet<QString> batchEditorFiles;
    // The batch editor file written last, kept open while the files of its
    // report folder follow one another.
    QString openEditorPath;
    std::unique_ptr<CheckedFile> openEditorFile;

    // When the batch file's validation started and ended, for the program log.
    QDateTime fileStarted;
    QDateTime fileEnded;

    // The clock behind every time the reports and logs carry; tests replace it.
    // A parallel batch calls it from several threads at once.
    std::function<QDateTime()> now = [] { return QDateTime::currentDateTime(); };

    std::int64_t runErrorEntries = 0; // error entries of the whole run: feeds the exit status
};
