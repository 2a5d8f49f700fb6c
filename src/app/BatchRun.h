#pragma once

#include "report/FindingOutputs.h"

#include <QString>
#include <QStringList>
#include <optional>

struct Configuration;
struct RunState;

// Which slice of the batch's files a run validates: the index-th (from 1) of
// count contiguous slices, in batch order. A count of 0 is the whole batch.
struct ShardSpec {
    int index = 0;
    int count = 0;
    bool whole() const { return count == 0; }
};

// What the batch window (or its command-line counterpart) hands to PROCESS.
struct BatchRequest {
    QString inputFolder; // the folder list's path
    QStringList selected; // names of the selected list entries, in list order
    QString taskCode {}; // the task-code box, as typed
    QString workPath; // the working-path box: where the reports go
    QString outputPath; // the output-path box
    int jobs = 0; // files validated side by side; 0: one per core
    // Entries of the folder that the list could not show (unreadable, a name
    // that is no UTF-8) although the selection was meant to hold them: the
    // batch names them and fails.
    QStringList unlisted {};
    ShardSpec shard {};
    FindingOutputPaths outputs {}; // the outputs beside the reports, which a shard names in its record
};

// Told about the run as it goes, so a window or a terminal can show it.
class BatchObserver {
public:
    virtual ~BatchObserver() = default;
    // The inputs are taken and the program logs are open: lock the inputs.
    virtual void batchStarted() { }
    // number counts from 1; total is every file the batch found to validate.
    // Files are told in batch order; validated side by side, a file is told
    // when it is done.
    virtual void fileStarted(int number, int total, const QString& inputPath) { }
    // After the last file and the final message, or after a failure.
    virtual void batchFinished() { }
};

// Input type "FILES" lists files; every other input type lists subfolders.
bool ListsFiles(const Configuration& config);
QString NoSelectionText(const Configuration& config);

// The entries the folder list shows for the input type: files or
// subfolders (links looked through), by name; and, each in a line of its
// own, the entries of that type it cannot show.
struct BatchListing {
    QStringList entries;
    QStringList problems;
};
BatchListing ListBatchFolder(const Configuration& config, const QString& folder);
QStringList BatchListEntries(const Configuration& config, const QString& folder);

// The file mask test of a walked file: a name without "." always passes.
bool PassesFileMask(const QString& fileMask, const QString& fileName);

// PROCESS: validates every selected file, or every file under every selected
// folder, into report and output trees that mirror the input. Returns the
// exit status of the batch; an unexpected failure throws RunAborted after the
// failing file's partial reports are dropped and the program logs closed.
int RunBatch(RunState& state, const BatchRequest& request, BatchObserver& observer);

// The job folder that "Get next allocated" moves to, or the text of the
// "ERROR" box when there is none.
struct AllocatedFolder {
    QString folder; // with a trailing "/"; empty on failure
    QString errorText;
};
AllocatedFolder NextAllocatedFolder(const Configuration& config, const QString& currentFolder);

// The headless batch: the command line stands in for the window's controls.
struct BatchCommand {
    QString folder;
    QStringList entries; // empty: every entry of the list
    QString taskCode; // the window's task-code box starts empty
    std::optional<QString> workPath; // none: the configured working path
    std::optional<QString> outputPath; // none: the configured output path
    int jobs = 0; // --jobs; 0: one per core
    ShardSpec shard; // --shard K/N
    FindingOutputPaths outputs {}; // --json, --sarif, --html
};
int RunBatchCommand(RunState& state, const BatchCommand& command, BatchObserver& observer);

// The batch mode's way out (EXIT, closing the window, the end of a headless
// batch): the temporary folder goes.
void EndBatchSession(RunState& state);
