#include "app/BatchRun.h"

#include "app/BatchJobs.h"
#include "app/BatchShard.h"
#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "config/ConfigurationCheck.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "core/MoveFiles.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/ImageChecks.h"
#include "rules/RuleRegistry.h"
#include "text/Encoding.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <utility>
#include <vector>

using FolderServices::WithTrailingSlash;

namespace {

struct FolderEntries {
    QStringList files;
    QStringList folders; // links to folders among them
    // Entries that cannot be read or named, each said in full: the folder
    // itself or an entry of either kind, files, folders.
    QStringList problems;
    QStringList fileProblems;
    QStringList folderProblems;
    QStringList allProblems() const { return problems + fileProblems + folderProblems; }
};

QString systemReason()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// A name that is no UTF-8 cannot be turned into the text every path of the
// program is, nor a report be named after it; it is shown with its other
// bytes written \xHH, so the operator can still find the file.
QString escapedName(const QByteArray& bytes)
{
    QString shown;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (code >= 0x20 && code < 0x7F && code != '\\')
            shown += QLatin1Char(byte);
        else
            shown += QStringLiteral("\\x%1").arg(code, 2, 16, QLatin1Char('0'));
    }
    return shown;
}

// One listing per folder, by name, so that runs are reproducible. Hidden
// entries (".gitkeep", editor back-ups) are nobody's input. Links are looked
// through: a link to a folder lists as a folder, to a file as a file. What
// cannot be read or named is a problem, never left out in silence.
FolderEntries listFolder(const QString& folder)
{
    FolderEntries entries;
    const QByteArray path = QFile::encodeName(folder);
    DIR* handle = ::opendir(path.constData());
    if (!handle) {
        entries.problems << QStringLiteral("cannot read the folder %1: %2").arg(folder, systemReason());
        return entries;
    }
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(handle);
        if (!entry) {
            if (errno != 0)
                entries.problems
                    << QStringLiteral("cannot read the folder %1: %2").arg(folder, systemReason());
            break;
        }
        const QByteArray bytes(entry->d_name);
        if (bytes.startsWith('.'))
            continue;
        const QString name = QFile::decodeName(bytes);
        const bool named = QFile::encodeName(name) == bytes;
        struct stat target { };
        if (::stat((path + bytes).constData(), &target) != 0) {
            entries.problems << QStringLiteral("cannot read %1%2: %3")
                                    .arg(folder, named ? name : escapedName(bytes), systemReason());
        } else if (!named) {
            (S_ISDIR(target.st_mode) ? entries.folderProblems : entries.fileProblems)
                << QStringLiteral("cannot validate %1%2: its name is not valid UTF-8")
                       .arg(folder, escapedName(bytes));
        } else if (S_ISDIR(target.st_mode)) {
            entries.folders << name;
        } else if (S_ISREG(target.st_mode)) {
            entries.files << name;
        } else {
            entries.fileProblems
                << QStringLiteral("cannot validate %1%2: it is not a file").arg(folder, name);
        }
    }
    ::closedir(handle);
    // By code unit, as QDir::Name sorts: byte order for every name but the
    // rarest. The problems are sorted too, so that every run tells them alike.
    for (QStringList* list : { &entries.files, &entries.folders, &entries.problems, &entries.fileProblems,
             &entries.folderProblems })
        std::sort(list->begin(), list->end());
    return entries;
}

// The name of the input folder itself ("batch7" for "/jobs/batch7/"); empty
// for the root, and for a piece holding ":", which names a drive. Taken from
// the absolute path, so that a folder given as "." or "jobs/.." still names
// the folder it is.
QString batchParentFolderPart(const QString& inputFolder)
{
    const QString path = QDir(inputFolder).absolutePath();
    const QString part = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    return part.contains(QLatin1Char(':')) ? QString() : part;
}

void makeOutputFolders(const RunState& state, const QString& outputFolder)
{
    // A folder that cannot be made shows when its reports cannot be written.
    FolderServices::MakeFolder(outputFolder);
    if (!state.config.CreateLogFolder.isEmpty())
        FolderServices::MakeFolder(outputFolder + state.config.CreateLogFolder + QLatin1Char('/'));
}

using FolderId = std::pair<dev_t, ino_t>;

std::optional<FolderId> folderId(const QString& folder)
{
    struct stat info { };
    if (::stat(QFile::encodeName(folder).constData(), &info) != 0)
        return std::nullopt;
    return FolderId { info.st_dev, info.st_ino };
}

struct WalkContext {
    RunState& state;
    QString root; // the input folder: the mirrored trees start below it
    QString reportFolder;
    QString outputFolder;
    BatchPlan& plan;
    // Every folder entered, however it was reached: a link leads into a
    // folder at most once, so no link leads the walk in circles.
    std::set<FolderId> entered;
    // The run's own folders, never walked: inside the input tree, the walk
    // would validate its own reports and copies and mirror the trees it
    // makes into themselves, one level deeper every run. Skipping them lets
    // an installation keep its working folder beside its input folders (the
    // sample does) while no run reads what a run wrote.
    std::vector<std::pair<FolderId, QString>> ownFolders;
};

void findOwnFolders(WalkContext& walk)
{
    const std::pair<QString, const char*> folders[] = {
        { walk.state.workPath, "working" },
        { walk.state.outputPath, "output" },
        { walk.state.tempFolder.workingFolder, "temporary" },
    };
    for (const auto& [folder, role] : folders) {
        if (const std::optional<FolderId> id = folderId(folder))
            walk.ownFolders.emplace_back(*id, QString::fromLatin1(role));
    }
}

// Whether the walk goes into the folder; a folder it does not enter is said.
bool entersFolder(WalkContext& walk, const QString& folder)
{
    const std::optional<FolderId> id = folderId(folder);
    if (!id) {
        walk.plan.unreadable << QStringLiteral("cannot read the folder %1: %2").arg(folder, systemReason());
        return false;
    }
    for (const auto& [own, role] : walk.ownFolders) {
        if (own == *id) {
            walk.plan.notWalked
                << QStringLiteral("not walked into %1: it is the %2 folder of this run").arg(folder, role);
            return false;
        }
    }
    if (!walk.entered.insert(*id).second) {
        walk.plan.notWalked
            << QStringLiteral("not walked into %1: a link to a folder already walked").arg(folder);
        return false;
    }
    return true;
}

void walkFolder(WalkContext& walk, const QString& folder)
{
    const FolderEntries entries = listFolder(folder);
    walk.plan.unreadable << entries.allProblems();
    for (const QString& name : entries.files) {
        if (PassesFileMask(walk.state.config.InputFileMask, name))
            walk.plan.files.push_back({ folder + name, walk.reportFolder, walk.outputFolder });
    }
    for (const QString& name : entries.folders) {
        const QString subfolder = folder + name + QLatin1Char('/');
        if (!entersFolder(walk, subfolder))
            continue;
        const QString relative = subfolder.mid(walk.root.size());
        walk.reportFolder = walk.state.workPath + relative;
        FolderServices::MakeFolder(walk.reportFolder);
        walk.outputFolder = walk.state.outputPath + relative;
        // Nested folders get their log folder too: without it the report
        // copies of their files would have nowhere to go.
        makeOutputFolders(walk.state, walk.outputFolder);
        walkFolder(walk, subfolder);
    }
    walk.state.ui.processEvents();
}

BatchPlan planBatch(RunState& state, const QString& inputFolder, const QStringList& selected)
{
    BatchPlan plan;
    const Configuration& config = state.config;
    if (ListsFiles(config)) {
        state.outputFolder = state.outputPath + state.parentFolderPart;
        makeOutputFolders(state, state.outputFolder);
        for (const QString& name : selected)
            plan.files.push_back({ inputFolder + name, state.workPath, state.outputFolder });
        return plan;
    }
    plan.walked = true;
    WalkContext walk { state, inputFolder, {}, {}, plan, {}, {} };
    findOwnFolders(walk);
    for (const QString& name : selected) {
        const QString folder = inputFolder + name + QLatin1Char('/');
        if (!entersFolder(walk, folder))
            continue;
        walk.reportFolder = state.workPath + name + QLatin1Char('/');
        walk.outputFolder = state.outputPath + name + QLatin1Char('/');
        FolderServices::MakeFolder(walk.reportFolder);
        makeOutputFolders(state, walk.outputFolder);
        walkFolder(walk, folder);
    }
    return plan;
}

// Every folder the batch writes into, once, before any file of it is
// validated; the batch's own inputs stay whatever they are called.
void removeLeftoversOfKilledRuns(const RunState& state, const BatchPlan& plan)
{
    QSet<QString> inputs;
    for (const PlannedFile& file : plan.files)
        inputs.insert(QFileInfo(file.path).absoluteFilePath());
    QSet<QString> done;
    for (const PlannedFile& file : plan.files) {
        const QString folders = file.reportFolder + QLatin1Char('\n') + file.outputFolder;
        if (done.contains(folders))
            continue;
        done.insert(folders);
        RemoveLeftoversOfKilledRuns(state, file.reportFolder, file.outputFolder, inputs);
    }
}

} // namespace

bool ListsFiles(const Configuration& config)
{
    return config.InputType.toUpper() == u"FILES";
}

QString NoSelectionText(const Configuration& config)
{
    return ListsFiles(config) ? QStringLiteral("No file(s) selected !")
                              : QStringLiteral("No folder(s) selected !");
}

BatchListing ListBatchFolder(const Configuration& config, const QString& folder)
{
    const FolderEntries entries = listFolder(WithTrailingSlash(folder));
    if (ListsFiles(config))
        return { entries.files, entries.problems + entries.fileProblems };
    return { entries.folders, entries.problems + entries.folderProblems };
}

QStringList BatchListEntries(const Configuration& config, const QString& folder)
{
    return ListBatchFolder(config, folder).entries;
}

bool PassesFileMask(const QString& fileMask, const QString& fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (fileMask.isEmpty() || dot < 0)
        return true;
    const QString wanted = QLatin1Char('|') + fileName.mid(dot + 1) + QLatin1Char('|');
    return fileMask.contains(wanted, Qt::CaseInsensitive);
}

namespace {

// Every file of the plan is refused before anything is written when the run
// would write over it or remove it (the program logs open first of all).
void refuseInputsTheRunWrites(RunState& state, const BatchPlan& plan)
{
    InputRefusal refusal(state);
    for (const PlannedFile& file : plan.files) {
        state.inputPath = file.path;
        state.reportFolder = file.reportFolder;
        state.outputFolder = file.outputFolder;
        refusal.check();
    }
    state.reportFolder = state.workPath;
}

// What the batch could not take in, and the folders it chose not to enter:
// a line each on standard error and in the program log.
void tellWhatWasLeftOut(RunState& state, const BatchPlan& plan)
{
    for (const QString& line : plan.unreadable + plan.notWalked) {
        state.ui.diagnostic(line);
        WriteProgramLogLine(state, line);
    }
}

// A PROCESS refused before it ran: the outputs of the one before (the
// window runs one after another) must not pass for this one's.
int refuseBatch(RunState& state)
{
    state.findingSinks.runStarted(state.taskCode, state.report.now());
    state.findingSinks.runEnded(state.report.now(), false);
    return ExitStatus::Refused;
}

} // namespace

int RunBatch(RunState& state, const BatchRequest& request, BatchObserver& observer)
{
    const Configuration& config = state.config;
    // The boxes are prefixes of every report path: an operator who leaves off
    // the final "/" still means the folder.
    state.workPath = WithTrailingSlash(request.workPath);
    state.outputPath = WithTrailingSlash(request.outputPath);
    state.reportFolder = state.workPath;
    state.outputFolder = state.outputPath;
    state.taskCode = request.taskCode.trimmed();
    if (request.selected.isEmpty()) {
        state.ui.messageBox(NoSelectionText(config), kProgramTitle, MessageIcon::Warning);
        return refuseBatch(state);
    }
    // Typed into a box or given on the command line, a folder may not be
    // there: a batch without its reports or copies must not pass for done.
    bool usable = FolderServices::CheckWriteAccess(state.ui, state.workPath);
    usable = FolderServices::CheckWriteAccess(state.ui, state.outputPath) && usable;
    if (!usable || !ClaimTempFolder(state.ui, state.config, state.tempFolder))
        return refuseBatch(state);

    state.batchMode = true;
    // The exit status is the batch's own: the window runs one batch after another.
    state.report.runErrorEntries = 0;
    state.checkFailures = 0;
    state.report.failedFiles = 0;
    state.report.runFailures.clear();
    ShardFindings shardFindings(state, request.shard);
    observer.batchStarted();
    state.findingSinks.runStarted(state.taskCode, state.report.now());
    const QString inputFolder = WithTrailingSlash(request.inputFolder);
    state.parentFolderPart = batchParentFolderPart(inputFolder);
    state.activeTables = TableSetForTask(state.ui, state.config, state.taskCode);
    StartImageCrossCheck(state.carriedStates);

    const bool sharded = !request.shard.whole();
    const int jobs = request.jobs > 0 ? request.jobs : DefaultBatchJobs();
    int batchFiles = 0;
    BatchPlan plan;
    try {
        plan = planBatch(state, inputFolder, request.selected);
        batchFiles = int(plan.files.size());
        plan.unreadable = request.unlisted + plan.unreadable;
        refuseInputsTheRunWrites(state, plan);
        removeLeftoversOfKilledRuns(state, plan);
        OpenProgramLogs(state);
        tellWhatWasLeftOut(state, plan);
        if (sharded)
            plan = StartShard(state, std::move(plan), request.shard, jobs);
        ValidatePlannedFiles(state, plan, jobs, observer);
    } catch (const RunAborted&) {
        CloseProgramLogs(state);
        state.findingSinks.runEnded(state.report.now(), false);
        ReleaseTempFolder(state);
        observer.batchFinished();
        throw;
    }
    // The image cross-check needs every file of the batch: a shard leaves it
    // to the merge.
    if (!sharded)
        ReportImagesWithoutCallout(state);
    CloseProgramLogs(state);
    ReleaseTempFolder(state);
    // Before the final box: the outputs are there when the operator reads it.
    state.findingSinks.runEnded(state.report.now(), true);
    // Files the batch could not take in were not validated: it is no complete run.
    const int refusedIfIncomplete = plan.unreadable.isEmpty() ? -1 : int(ExitStatus::Refused);
    if (sharded) {
        observer.batchFinished();
        const int status = FinishShard(state, request, batchFiles, shardFindings.run());
        return refusedIfIncomplete < 0 ? status : refusedIfIncomplete;
    }
    QString finished = QStringLiteral("Finish Processing! Please view the log file/s in ") + state.workPath;
    // A batch with failed files must not end on the words of one that checked everything.
    if (state.report.failedFiles > 0)
        finished
            += QStringLiteral("\r\n%1 file(s) failed: their check did not finish or their outputs "
                              "could not be written (see their reports and the messages before this one).")
                   .arg(state.report.failedFiles);
    if (!plan.unreadable.isEmpty())
        finished += QStringLiteral("\r\n%1 entr(ies) could not be read and were not validated "
                                   "(see the messages before this one and the program log).")
                        .arg(plan.unreadable.size());
    const bool incomplete = state.report.failedFiles > 0 || !plan.unreadable.isEmpty();
    state.ui.messageBox(finished, QStringLiteral("Complete Process"),
        incomplete ? MessageIcon::Warning : MessageIcon::Information);
    observer.batchFinished();
    return refusedIfIncomplete < 0 ? ExitStatusOf(state) : refusedIfIncomplete;
}

AllocatedFolder NextAllocatedFolder(const Configuration& config, const QString& currentFolder)
{
    const QString doesNotExist = QStringLiteral(" doesn't exist!");
    QFile jobFile(config.KlmxIniFile);
    if (!QFileInfo(jobFile).isFile() || !jobFile.open(QIODevice::ReadOnly))
        return { {}, config.KlmxIniFile + doesNotExist };
    QString name;
    for (const QString& line : SplitTextLines(DecodeTableText(jobFile.readAll()))) {
        name = line.trimmed();
        if (!name.isEmpty())
            break;
    }
    // An empty job file names no folder; moving to the current one would
    // look like success.
    if (name.isEmpty())
        return { {}, config.KlmxIniFile + QStringLiteral(" names no job folder!") };
    const QString folder = WithTrailingSlash(currentFolder) + name;
    if (!QFileInfo(folder).isDir())
        return { {}, folder + doesNotExist };
    return { WithTrailingSlash(folder), {} };
}

int RunBatchCommand(RunState& state, const BatchCommand& command, BatchObserver& observer)
{
    const Configuration& config = state.config;
    if (!QFileInfo(command.folder).isDir()) {
        state.ui.messageBox(
            command.folder + QStringLiteral(" not found!"), kProgramTitle, MessageIcon::Critical);
        return ExitStatus::Refused;
    }
    const BatchListing listing = ListBatchFolder(config, command.folder);
    const QStringList& listed = listing.entries;
    QStringList selected;
    QStringList unlisted;
    if (command.entries.isEmpty()) {
        selected = listed;
        // The whole list was asked for: what it could not show is missing from it.
        unlisted = listing.problems;
    } else {
        const QSet<QString> known(listed.cbegin(), listed.cend());
        QSet<QString> taken;
        for (QString entry : command.entries) {
            // Shell completion ends a folder name with "/".
            while (entry.size() > 1 && entry.endsWith(QLatin1Char('/')))
                entry.chop(1);
            if (!known.contains(entry)) {
                state.ui.messageBox(entry + QStringLiteral(" not found in ") + command.folder, kProgramTitle,
                    MessageIcon::Critical);
                return ExitStatus::Refused;
            }
            // A list selection holds each entry once.
            if (!taken.contains(entry)) {
                taken.insert(entry);
                selected.append(entry);
            }
        }
    }
    BatchRequest request;
    request.inputFolder = command.folder;
    request.selected = selected;
    request.taskCode = command.taskCode;
    request.workPath = command.workPath.value_or(config.WorkPath);
    request.outputPath = command.outputPath.value_or(config.OutputPath);
    request.jobs = command.jobs;
    request.unlisted = unlisted;
    request.shard = command.shard;
    request.outputs = command.outputs;
    return RunBatch(state, request, observer);
}

void EndBatchSession(RunState& state)
{
    RemoveRunTempFolder(state);
}
