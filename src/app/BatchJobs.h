#pragma once

#include <QString>
#include <QStringList>
#include <vector>

class BatchObserver;
struct RunState;

// One file of the batch with the folders its reports and copies go to.
struct PlannedFile {
    QString path;
    QString reportFolder;
    QString outputFolder;
};

// The whole batch is found before the first file is validated, so progress
// can say how many files there are; every folder is still listed only once.
struct BatchPlan {
    std::vector<PlannedFile> files;
    bool walked = false; // folders mode: reports open before the before-programs
    // Entries the batch could not read or name, each told in a line of its
    // own; a batch with any is not a complete one and exits with 2.
    QStringList unreadable {};
    // Folders the walk chose not to enter, told so that nobody wonders why
    // their files are missing: a second way into a folder already walked and
    // the run's own working, output and temporary folders.
    QStringList notWalked {};
};

// The job count when none is given: one file per core.
int DefaultBatchJobs();

// Why this batch must run one file after another whatever the job count;
// empty when its files may be validated side by side.
QString SequentialBatchReason(const RunState& state, const BatchPlan& plan);

// Validates the planned files, up to `jobs` of them at a time. Their inputs
// were refused before the program logs opened (RunBatch): no input is a file
// the batch writes. Whatever the
// job count, every report, editor file and log comes out byte for byte as
// the files validated one after another write it, and the run state ends as
// that run leaves it. The observer hears of the files in batch order; with
// more than one job a file is told when it is done, and the operator's
// progress bar counts the files done. A failure ends the batch as it would
// one after another: the files after the failing one leave nothing behind.
void ValidatePlannedFiles(RunState& state, const BatchPlan& plan, int jobs, BatchObserver& observer);

// The per-file sequence of the single-file run, for one planned file whose
// input was refused with the batch's.
void ValidateBatchFile(RunState& state, const PlannedFile& file, bool walked);
