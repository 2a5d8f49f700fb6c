#pragma once

#include "app/BatchJobs.h"
#include "app/BatchRun.h"
#include "report/FindingOutputs.h"

#include <QString>

class OperatorInterface;
struct RunState;

// A batch split over several processes or machines: each shard validates one
// contiguous slice of the batch's planned files and writes what that slice of
// the whole batch writes (reports, output copies, its own share of the editor
// files, program logs and outputs), plus a record of what the merge needs
// beside its program log. The run-wide pieces are the merge's: a shard runs
// no image cross-check (it records the images its files called out), shows
// no "Complete Process" box, and exits with its slice's own status.

// Files [first, first + count) of the batch's planned order. The slices are
// contiguous and differ in size by at most one file; with more shards than
// files some are empty.
struct ShardSlice {
    int first = 0;
    int count = 0;
};
ShardSlice SliceOfBatch(int totalFiles, const ShardSpec& shard);

// Cuts the plan down to the shard's slice and gives the run state the
// open-tag list that the files before the slice leave, found by the pass
// over their tags that the parallel batch uses. Throws RunAborted when the
// batch cannot be split exactly.
BatchPlan StartShard(RunState& state, BatchPlan whole, const ShardSpec& shard, int jobs);

// The shard's record: the work folder + the program's name + "_Shard.json".
QString ShardRecordPath(const RunState& state);

// Keeps a shard's findings for its record, whatever outputs were asked for,
// from before the run starts until the batch is over; nothing for a whole
// batch. A record left by an earlier run of the shard goes at once, so it
// cannot pass for this run's.
class ShardFindings {
public:
    ShardFindings(RunState& state, const ShardSpec& shard);
    ~ShardFindings();
    ShardFindings(const ShardFindings&) = delete;
    ShardFindings& operator=(const ShardFindings&) = delete;
    const RunFindings& run() const { return collector_.run(); }

private:
    RunState& state_;
    bool sharded_;
    FindingOutputs collector_;
};

// After a shard's logs are closed: writes its record and says what it
// validated. Returns the slice's exit status, or 2 when the record could not
// be written (the shard then counts as failed).
int FinishShard(RunState& state, const BatchRequest& request, int batchFiles, const RunFindings& findings);

// --merge OUT SHARD...: joins the folders of every shard of one batch into OUT
// as the whole batch writes them. Returns the whole batch's exit status, or
// 2 (and writes nothing) when a shard is missing, failed or does not belong.
int MergeShards(OperatorInterface& ui, const QString& outFolder, const QStringList& shardFolders);
