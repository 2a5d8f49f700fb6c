#include "app/BatchJobs.h"

#include "app/BatchRun.h"
#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "config/RoutineDeclTable.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "engine/OpenTagPass.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/RuleRegistry.h"
#include "spelling/SpellingAnswerStore.h"
#include "spelling/WorkerSpellingEngines.h"

#include <QSet>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <limits>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

namespace {

// What a file validated on a worker told, in the order it told it: operator
// calls, findings and checks that ended early. The main thread replays them
// into the run when the file's turn comes, so the run's reports and sinks,
// and whoever watches, hear the file as if it had been validated there.
struct FileEvent {
    enum class Kind { MessageBox, Diagnostic, Finding, CheckEnded } kind;
    QString text; // the message, the diagnostic line or the routine that ended
    QString detail; // a message box's title, or why the check ended
    MessageIcon icon = MessageIcon::Information;
    Finding finding = {};
};

// The worker's operator and finding receiver: nobody watches a worker, so
// what it tells waits for the main thread, and its progress goes nowhere. Its
// findings also write the file's own reports, which only the file writes.
class FileEvents : public OperatorInterface, public FindingReceiver {
public:
    // The run state whose reports the findings write: the worker's own.
    void writeReportsOf(RunRecord& reports) { reports_ = &reports; }

    void messageBox(const QString& text, const QString& title, MessageIcon icon) override
    {
        events.push_back({ FileEvent::Kind::MessageBox, text, title, icon });
    }
    void setProgressRange(int, int) override { }
    void setProgressValue(int) override { }
    void processEvents() override { }
    void diagnostic(const QString& line) override
    {
        events.push_back({ FileEvent::Kind::Diagnostic, line, {} });
    }

    void fileFinding(const Finding& finding) override
    {
        reports_->receiver().fileFinding(finding);
        events.push_back({ FileEvent::Kind::Finding, {}, {}, {}, finding });
    }
    // Only a run finds anything after its last file; a worker checks files.
    void runFinding(const Finding& finding) override { fileFinding(finding); }
    void checkEnded(const QString& routine, const QString& reason) override
    {
        // The run counts and tells it when it replays the file; the file's
        // reports say it before their totals.
        reports_->report.noteCheckNotFinished(routine, reason);
        events.push_back({ FileEvent::Kind::CheckEnded, routine, reason });
    }

    std::vector<FileEvent> events;

private:
    RunRecord* reports_ = nullptr;
};

// Everything a file validated on a worker leaves for the main thread.
struct FileOutcome {
    std::vector<FileEvent> events;
    WrittenFileReports reports; // the file's own reports, complete but not in place
    std::exception_ptr failure;
    FileIdentity inputIdentity; // the input as the worker read it
    RuleRunStates carried; // the file's shares of what rules carry to the next file
    CarriedTagState handedOn; // what the file hands on to the next one
};

struct FileJob {
    int index = 0;
    bool last = false; // the batch's last file, whose open-tag list the run ends with
};

// The files a planned file writes apart from the shared ones.
QStringList filesWrittenFor(const RunState& state, const PlannedFile& file)
{
    const QString name = InputFileNameOf(file.path);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    const QString base = dot < 0 ? name : name.left(dot);
    QString copies = file.outputFolder;
    if (!state.config.CreateLogFolder.isEmpty())
        copies += state.config.CreateLogFolder + QLatin1Char('/');
    return { file.reportFolder + base + QStringLiteral(".ERR"),
        file.reportFolder + base + QStringLiteral(".WRN"), copies + base + QStringLiteral(".ERR"),
        copies + base + QStringLiteral(".WRN"), file.outputFolder + name };
}

// The pre-pass effects of the batch's files, found in file order on a thread
// of their own while the workers validate, and each dropped once no worker
// can need it any more: an element left open keeps the line it was read in,
// and a converted file can be one line of megabytes. The pass over a file's
// tags takes a fraction of its validation, so it keeps ahead of the workers,
// and the first files start at once instead of after a pass over them all.
class EffectShelf {
public:
    EffectShelf(const QStringList& paths, bool utf8Input, int workers)
        : effects_(static_cast<std::size_t>(paths.size()))
        , positions_(static_cast<std::size_t>(workers), 0)
        , finder_([this, paths, utf8Input] {
            for (qsizetype i = 0; i < paths.size(); ++i) {
                OpenTagEffect effect = OpenTagEffectOfFile(paths[i], utf8Input);
                const std::lock_guard hold(lock_);
                effects_[static_cast<std::size_t>(i)] = std::move(effect);
                found_ = static_cast<int>(i) + 1;
                foundMore_.notify_all();
            }
        })
    {
    }
    ~EffectShelf() { finder_.join(); }
    EffectShelf(const EffectShelf&) = delete;
    EffectShelf& operator=(const EffectShelf&) = delete;

    // The effect of the file, once found. Read by a worker only from its own
    // position on, which no other worker drops; the vector never changes size.
    const OpenTagEffect& operator[](int file)
    {
        std::unique_lock hold(lock_);
        foundMore_.wait(hold, [&] { return found_ > file; });
        return effects_[static_cast<std::size_t>(file)];
    }
    // The worker reads no effect before `file` any more.
    void movedTo(int worker, int file)
    {
        const std::lock_guard hold(lock_);
        positions_[static_cast<std::size_t>(worker)] = file;
        const int needed = std::min(*std::min_element(positions_.begin(), positions_.end()), found_);
        for (; dropped_ < needed; ++dropped_)
            effects_[static_cast<std::size_t>(dropped_)] = {};
    }

private:
    std::vector<OpenTagEffect> effects_;
    std::vector<int> positions_;
    int found_ = 0; // effects found, from the first file on
    int dropped_ = 0;
    std::mutex lock_;
    std::condition_variable foundMore_;
    std::thread finder_; // last: it starts once everything it uses is there
};

// A worker: its own run state over the run's installation, which it only
// reads, validating the files it is handed one at a time, in batch order. It
// writes the file's own reports under their names in the making; the main
// thread, replaying the file in batch order, writes what the files share and
// puts the reports in place.
//
// A file starts from the open-tag list the files before it leave. Each
// worker keeps that list in its own state and brings it forward itself: the
// file it validated last leaves the list the next file starts with (the
// pre-pass predicts exactly what the driver leaves), and the effects the
// pre-pass found carry it across the files other workers took.
// Handing every file a copy of the list instead costs as much as the list is
// long, file after file, and in a batch whose files all leave elements open
// it grows by a few entries with every file.
class Worker {
public:
    Worker(const RunState& main, EffectShelf& effects, int number)
        : effects_(effects)
        , number_(number)
        , state_(events_, main.installation)
    {
        events_.writeReportsOf(state_);
        state_.batchMode = true;
        state_.report.keepReportBytes = true; // the copies are made from them
        state_.activeTables = main.activeTables;
        state_.report.now = main.report.now; // rules that check dates ask the run's clock
        SeedCarriedTagState(state_.file, { main.file.openTags, {}, {}, {} });
    }

    // The engine this worker asks, in place of the installation's.
    void useSpellingEngine(std::unique_ptr<SpellingEngine> engine) { spelling_.engine = std::move(engine); }

    FileOutcome validate(const PlannedFile& file, FileJob& job)
    {
        RunState& state = state_;
        events_.events.clear();
        state.inputPath = file.path;
        state.currentInputPath = file.path;
        state.inputFileName = InputFileNameOf(file.path);
        state.reportFolder = file.reportFolder;
        state.outputFolder = file.outputFolder;
        state.report.startFile();
        for (; listFor_ < job.index; ++listFor_)
            ApplyOpenTagEffect(
                state.file.openTags, state.file.openTagNames, state.file.toolkit, effects_[listFor_]);
        listFor_ = job.index + 1;
        effects_.movedTo(number_, listFor_);
        // The tag contexts are replaced at the file's first tag before any
        // routine reads them; left empty, they tell whether the file had a tag.
        state.file.context = {};
        state.file.previousTag = {};
        state.file.previousStartTag = {};
        // Rules check the file apart from the files before it; the run takes
        // in what it carries on in batch order.
        state.carriedStates.startFileApart();

        FileOutcome outcome;
        bool opened = false;
        try {
            OpenFileReports(state);
            opened = true;
            ValidateRunFile(state,
                { events_, *state.installation, state.activeTables, spelling_, state.carriedStates, events_,
                    state.report.now },
                Rules());
            CompleteFileReports(state);
        } catch (...) {
            outcome.failure = std::current_exception();
            DiscardReports(state);
        }
        outcome.reports = TakeWrittenReports(state);
        outcome.reports.opened = opened;
        if (!outcome.failure)
            CopyReportsAhead(state, outcome.reports);
        outcome.events = std::move(events_.events);
        events_.events.clear();
        outcome.inputIdentity = state.file.inputIdentity;
        outcome.carried = std::move(state.carriedStates);
        // Only the run's end needs the list the files hand on.
        outcome.handedOn = { job.last ? state.file.openTags : QList<ValidationContext>(), state.file.context,
            state.file.previousTag, state.file.previousStartTag };
        return outcome;
    }

private:
    EffectShelf& effects_;
    const int number_;
    int listFor_ = 0; // the file whose start the state's open-tag list is
    FileEvents events_;
    SpellingState spelling_;
    RunState state_;
};

// The jobs handed to the workers and the outcomes they hand back. The lock
// is taken once per file, never while a file is validated.
class JobBoard {
public:
    void post(FileJob job)
    {
        {
            std::lock_guard lock(mutex_);
            jobs_.push_back(std::move(job));
        }
        jobPosted_.notify_one();
    }
    // The next job, or none when the batch is over for the workers.
    std::optional<FileJob> take()
    {
        std::unique_lock lock(mutex_);
        jobPosted_.wait(lock, [&] { return closed_ || !jobs_.empty(); });
        if (closed_ || jobs_.empty())
            return std::nullopt;
        FileJob job = std::move(jobs_.front());
        jobs_.pop_front();
        return job;
    }
    void close()
    {
        {
            std::lock_guard lock(mutex_);
            closed_ = true;
            jobs_.clear();
        }
        jobPosted_.notify_all();
    }
    void deliver(int index, FileOutcome outcome)
    {
        bool awaitedAreIn = false;
        {
            std::lock_guard lock(mutex_);
            outcomes_[index] = std::move(outcome);
            awaitedAreIn = awaitedCount_ > 0 && index >= awaitedFrom_ && index < awaitedFrom_ + awaitedCount_
                && allDelivered(awaitedFrom_, awaitedCount_);
        }
        // Waking the main thread costs a round through the kernel: it is
        // woken only for what it waits for, not for every file.
        if (awaitedAreIn)
            delivered_.notify_one();
    }
    // Waits at most `wait` until the `count` files from `from` on are all done.
    void awaitDelivered(int from, int count, std::chrono::milliseconds wait)
    {
        std::unique_lock lock(mutex_);
        awaitedFrom_ = from;
        awaitedCount_ = count;
        delivered_.wait_for(lock, wait, [&] { return allDelivered(from, count); });
        awaitedCount_ = 0;
    }
    // The outcome of the file when it is done, without waiting.
    // Every outcome not collected, once the workers are stopped.
    std::vector<FileOutcome> leftOver()
    {
        std::lock_guard lock(mutex_);
        std::vector<FileOutcome> left;
        for (auto& [index, outcome] : outcomes_)
            left.push_back(std::move(outcome));
        outcomes_.clear();
        return left;
    }
    std::optional<FileOutcome> collect(int index)
    {
        std::lock_guard lock(mutex_);
        const auto found = outcomes_.find(index);
        if (found == outcomes_.end())
            return std::nullopt;
        FileOutcome outcome = std::move(found->second);
        outcomes_.erase(found);
        return outcome;
    }

private:
    bool allDelivered(int from, int count) const
    {
        for (int index = from; index < from + count; ++index) {
            if (!outcomes_.contains(index))
                return false;
        }
        return true;
    }

    std::mutex mutex_;
    std::condition_variable jobPosted_;
    std::condition_variable delivered_;
    std::deque<FileJob> jobs_;
    std::map<int, FileOutcome> outcomes_;
    bool closed_ = false;
    int awaitedFrom_ = 0;
    int awaitedCount_ = 0; // none awaited
};

// Replays a worker's file into the main run state, in batch order: the
// program logs, the sinks and the run's counts hear it as if it had been
// validated there, and the reports the worker wrote are put in place and
// published as that file would have left them.
void publishOutcome(RunState& state, const PlannedFile& file, FileOutcome& outcome)
{
    state.inputPath = file.path;
    state.currentInputPath = file.path;
    state.inputFileName = InputFileNameOf(file.path);
    state.reportFolder = file.reportFolder;
    state.outputFolder = file.outputFolder;
    // The batch refused its inputs once, for the whole plan, before anything
    // was written (RunBatch), as one after another does: asked again here,
    // file by file, the main thread would spend more on it than on the
    // replay and hold the workers back.
    state.report.startFile();
    try {
        StartWrittenFile(state, outcome.reports);
        FindingReceiver& reports = state.receiver();
        for (const FileEvent& event : outcome.events) {
            switch (event.kind) {
            case FileEvent::Kind::MessageBox:
                state.ui.messageBox(event.text, event.detail, event.icon);
                break;
            case FileEvent::Kind::Diagnostic:
                state.ui.diagnostic(event.text);
                break;
            case FileEvent::Kind::Finding:
                reports.fileFinding(event.finding);
                break;
            case FileEvent::Kind::CheckEnded:
                reports.checkEnded(event.text, event.detail);
                break;
            }
        }
        state.carriedStates.takeLater(outcome.carried);
        if (outcome.failure)
            std::rethrow_exception(outcome.failure);
        state.report.inputIdentity = outcome.inputIdentity;
        FinishWrittenFile(state, outcome.reports);
    } catch (...) {
        DiscardReports(state);
        DiscardWrittenReports(outcome.reports);
        throw;
    }
    PublishFileReports(state);
}

// What a file hands on, given where it started: a file without tags leaves
// the tag contexts it was given.
CarriedTagState handedOn(const CarriedTagState& start, CarriedTagState end)
{
    if (end.previousTag.tagType == TagKind::None) {
        end.context = start.context;
        end.previousTag = start.previousTag;
    }
    if (end.previousStartTag.tagType == TagKind::None)
        end.previousStartTag = start.previousStartTag;
    return end;
}

// A worker loads an engine of its own once its questions to the run's engine
// have taken as long as loading one does: en_US loads in 0.08 s on a quiet
// core of the 2-core test machine and in up to 0.2 s when it is busy (and
// takes 11 MB). A batch that asks little, as the sample text, never loads a
// second dictionary; a spelling-heavy one starts its second engine within
// its first few suggestions, which take 50 to 150 ms each.
constexpr std::chrono::milliseconds kWorthOwnEngine(100);

void validateOneAfterAnother(RunState& state, const BatchPlan& plan, BatchObserver& observer)
{
    const int total = static_cast<int>(plan.files.size());
    for (int i = 0; i < total; ++i) {
        observer.fileStarted(i + 1, total, plan.files[i].path);
        ValidateBatchFile(state, plan.files[i], plan.walked);
    }
}

// A file validated side by side must start from the open-tag list that the
// files before it leave. The routines read nothing else that one file hands
// to the next (whole-file checks look at no tag, and the first tag of a file
// replaces the tag contexts before any routine runs), and that list changes
// only at start and end tags: a pass over the tags of the files, running
// ahead of the workers, gives each file the list it starts with, so every
// file is validated once, whatever it leaves open. A file whose
// validation stops early ends the batch there, so the files after it never
// need the list it would have left.
void validateSideBySide(RunState& state, const BatchPlan& plan, int jobs, BatchObserver& observer)
{
    const int total = static_cast<int>(plan.files.size());
    const Configuration& config = state.config;
    QStringList paths;
    for (const PlannedFile& file : plan.files)
        paths.append(file.path);
    EffectShelf effects(paths, config.Utf8Input, jobs);
    JobBoard board;
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<std::thread> threads;
    std::mutex spellingLock;
    SpellingEngine* runEngine = state.installation->spelling.engine.get();
    // The workers share the run's answers, so no two ask about one word
    // unless they meet it at the same time.
    std::shared_ptr<SpellingAnswerStore> answers;
    if (auto* caching = dynamic_cast<CachingSpellingEngine*>(runEngine)) {
        answers = caching->store();
        runEngine = &caching->engine();
    }
    const bool ownEngines = runEngine && state.installation->spelling.makeEngine;
    for (int i = 0; i < jobs; ++i) {
        workers.push_back(std::make_unique<Worker>(state, effects, i));
        // The first worker asks the run's engine; the others ask it too, in
        // turn, until waiting for it has cost them a dictionary load.
        std::unique_ptr<SpellingEngine> engine;
        if (runEngine && ownEngines && i > 0)
            engine = std::make_unique<OwnSpellingEngine>(
                state.installation->spelling.makeEngine, *runEngine, spellingLock, kWorthOwnEngine);
        else if (runEngine)
            engine = std::make_unique<LockedSpellingEngine>(*runEngine, spellingLock);
        if (engine && answers)
            engine = std::make_unique<CachingSpellingEngine>(answers, std::move(engine));
        if (engine)
            workers.back()->useSpellingEngine(std::move(engine));
        threads.emplace_back([&, worker = workers.back().get()] {
            while (std::optional<FileJob> job = board.take()) {
                const int index = job->index;
                board.deliver(index, worker->validate(plan.files[index], *job));
            }
        });
    }
    auto stopWorkers = [&] {
        board.close();
        for (std::thread& thread : threads)
            thread.join();
        threads.clear();
    };

    CarriedTagState known = CarriedTagStateOf(state.file); // where the next file to publish starts
    // Done files are published a few at a time, so the main thread wakes
    // once for several of them. Enough more are handed out ahead of those
    // that no worker runs dry while the main thread waits for a processor
    // (with every core busy, that takes milliseconds).
    const int together = 4 * jobs;
    constexpr std::chrono::milliseconds kLongestWait(50);
    const int ahead = together + 16 * jobs;
    int posted = 0;
    std::optional<FileOutcome> outcome; // collected, not yet published
    try {
        for (int published = 0; published < total;) {
            for (; posted < total && posted - published < ahead; ++posted)
                board.post({ posted, posted == total - 1 });
            // Whatever is done is published at the latest when the wait
            // runs out, so big files move the progress bar one by one.
            board.awaitDelivered(published, std::min(together, total - published), kLongestWait);
            while ((outcome = board.collect(published))) {
                observer.fileStarted(published + 1, total, plan.files[published].path);
                known = handedOn(known, outcome->handedOn);
                publishOutcome(state, plan.files[published], *outcome);
                outcome.reset();
                ++published;
                state.ui.setProgressRange(0, total);
                state.ui.setProgressValue(published);
            }
            // The window stays painted while the workers run.
            state.ui.processEvents();
        }
    } catch (...) {
        // One file after another, the files after a failing one would never
        // have been validated: what the workers finished of them goes, with
        // the reports they wrote under their names in the making.
        stopWorkers();
        if (outcome)
            DiscardWrittenReports(outcome->reports);
        for (const FileOutcome& dropped : board.leftOver())
            DiscardWrittenReports(dropped.reports);
        throw;
    }
    stopWorkers();
    SeedCarriedTagState(state.file, known);
}

} // namespace

int DefaultBatchJobs()
{
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

QString SequentialBatchReason(const RunState& state, const BatchPlan& plan)
{
    const TableSet& active = state.activeTables;
    if (plan.files.size() < 2)
        return QStringLiteral("fewer than two files");
    // Outside programs have always seen one file at a time, and the staged
    // copies of the inputs share the temporary folder.
    if (!active.InputPlugins.isEmpty() || !active.OutputPlugins.isEmpty())
        return QStringLiteral("the task runs outside programs");
    // Two files of one batch that write the same report or copy: the later
    // one wins, and only one after another says which is later.
    QSet<QString> written;
    for (const PlannedFile& file : plan.files) {
        // A file that writes one path twice does so in its own fixed order.
        const QStringList paths = filesWrittenFor(state, file);
        for (const QString& path : QSet<QString>(paths.cbegin(), paths.cend())) {
            if (written.contains(path))
                return QStringLiteral("two files write ") + path;
            written.insert(path);
        }
    }
    return {};
}

void ValidatePlannedFiles(RunState& state, const BatchPlan& plan, int jobs, BatchObserver& observer)
{
    if (jobs <= 1 || !SequentialBatchReason(state, plan).isEmpty()) {
        validateOneAfterAnother(state, plan, observer);
        return;
    }
    validateSideBySide(state, plan, std::min(jobs, static_cast<int>(plan.files.size())), observer);
}

void ValidateBatchFile(RunState& state, const PlannedFile& file, bool walked)
{
    state.inputPath = file.path;
    state.currentInputPath = file.path;
    state.inputFileName = InputFileNameOf(file.path);
    state.reportFolder = file.reportFolder;
    state.outputFolder = file.outputFolder;
    state.report.startFile();
    try {
        ValidateOneFile(state, walked);
    } catch (const RunAborted&) {
        // Closed, the failing file's reports would look clean and its input
        // would pass on to the output folder as validated; they are dropped,
        // while the files before it keep theirs.
        DiscardReports(state);
        throw;
    }
    CloseReports(state);
    RunAfterPrograms(state);
}
