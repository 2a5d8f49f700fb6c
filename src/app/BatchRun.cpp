#include "app/BatchRun.h"

#include "app/BatchJobs.h"
#include "app/BatchShard.h"
#include "app/SingleFileRun.h"
#include "config/ConfigurationFile.h"
#include "core/MoveFiles.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "core/RunState.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/ImageChecks.h"
#include "rules/RuleRegistry.h"
#include "text/Encoding.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <vector>

using modMoveFiles::WithTrailingSlash;

namespace {

struct FolderEntries {
    QStringList files;
    QStringList folders;
};

// One listing per folder, by name, so that runs are reproducible. Hidden
// entries (".gitkeep", editor back-ups) are nobody's input, and a link to a
// folder is never walked into, so links cannot lead the walk in circles.
FolderEntries listFolder(const QString& folder)
{
    FolderEntries entries;
    const QFileInfoList infos
        = QDir(folder).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& info : infos) {
        if (info.isDir()) {
            if (!info.isSymLink())
                entries.folders.append(info.fileName());
        } else if (info.isFile()) {
            entries.files.append(info.fileName());
        }
    }
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
    modMoveFiles::MakeFolder(outputFolder);
    if (!state.config.CreateLogFolder.isEmpty())
        modMoveFiles::MakeFolder(outputFolder + state.config.CreateLogFolder + QLatin1Char('/'));
}

struct WalkContext {
    RunState& state;
    QString root; // the input folder: the mirrored trees start below it
    QString reportFolder;
    QString outputFolder;
    BatchPlan& plan;
};

void walkFolder(WalkContext& walk, const QString& folder)
{
    const FolderEntries entries = listFolder(folder);
    for (const QString& name : entries.files) {
        if (PassesFileMask(walk.state.config.InputFileMask, name))
            walk.plan.files.push_back({ folder + name, walk.reportFolder, walk.outputFolder });
    }
    for (const QString& name : entries.folders) {
        const QString subfolder = folder + name + QLatin1Char('/');
        const QString relative = subfolder.mid(walk.root.size());
        walk.reportFolder = walk.state.config.WorkPath + relative;
        modMoveFiles::MakeFolder(walk.reportFolder);
        walk.outputFolder = walk.state.config.OutputPath + relative;
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
        state.outputFolder = config.OutputPath + state.parentFolderPart;
        makeOutputFolders(state, state.outputFolder);
        for (const QString& name : selected)
            plan.files.push_back({ inputFolder + name, config.WorkPath, state.outputFolder });
        return plan;
    }
    plan.walked = true;
    for (const QString& name : selected) {
        WalkContext walk { state, inputFolder, config.WorkPath + name + QLatin1Char('/'),
            config.OutputPath + name + QLatin1Char('/'), plan };
        modMoveFiles::MakeFolder(walk.reportFolder);
        makeOutputFolders(state, walk.outputFolder);
        walkFolder(walk, inputFolder + name + QLatin1Char('/'));
    }
    return plan;
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

QStringList BatchListEntries(const Configuration& config, const QString& folder)
{
    FolderEntries entries = listFolder(WithTrailingSlash(folder));
    return ListsFiles(config) ? entries.files : entries.folders;
}

bool PassesFileMask(const QString& fileMask, const QString& fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (fileMask.isEmpty() || dot < 0)
        return true;
    const QString wanted = QLatin1Char('|') + fileName.mid(dot + 1) + QLatin1Char('|');
    return fileMask.contains(wanted, Qt::CaseInsensitive);
}

int RunBatch(RunState& state, const BatchRequest& request, BatchObserver& observer)
{
    Configuration& config = state.config;
    // The boxes are prefixes of every report path: an operator who leaves off
    // the final "/" still means the folder.
    config.WorkPath = WithTrailingSlash(request.workPath);
    config.OutputPath = WithTrailingSlash(request.outputPath);
    state.reportFolder = config.WorkPath;
    state.outputFolder = config.OutputPath;
    state.taskCode = request.taskCode.trimmed();
    if (request.selected.isEmpty()) {
        state.ui.messageBox(NoSelectionText(config), kProgramTitle, MessageIcon::Warning);
        return ExitStatus::Refused;
    }

    state.batchMode = true;
    // The exit status is the batch's own: the window runs one batch after another.
    state.report.runErrorEntries = 0;
    state.checkFailures = 0;
    ShardFindings shardFindings(state, request.shard);
    observer.batchStarted();
    state.findingSinks.runStarted(state.taskCode, state.report.now());
    OpenProgramLogs(state);
    const QString inputFolder = WithTrailingSlash(request.inputFolder);
    state.parentFolderPart = batchParentFolderPart(inputFolder);
    SelectTaskTableSet(state, state.taskCode);
    StartImageCrossCheck(state);

    const bool sharded = !request.shard.whole();
    const int jobs = request.jobs > 0 ? request.jobs : DefaultBatchJobs();
    int batchFiles = 0;
    try {
        BatchPlan plan = planBatch(state, inputFolder, request.selected);
        batchFiles = int(plan.files.size());
        if (sharded)
            plan = StartShard(state, std::move(plan), request.shard, jobs);
        ValidatePlannedFiles(state, plan, jobs, observer);
    } catch (const RunAborted&) {
        CloseProgramLogs(state);
        state.findingSinks.runEnded(state.report.now(), false);
        observer.batchFinished();
        throw;
    }
    // The image cross-check needs every file of the batch: a shard leaves it
    // to the merge.
    if (!sharded)
        ReportImagesWithoutCallout(state);
    CloseProgramLogs(state);
    // Before the final box: the outputs are there when the operator reads it.
    state.findingSinks.runEnded(state.report.now(), true);
    if (sharded) {
        observer.batchFinished();
        return FinishShard(state, request, batchFiles, shardFindings.run());
    }
    state.ui.messageBox(QStringLiteral("Finish Processing! Please view the log file/s in ") + config.WorkPath,
        QStringLiteral("Complete Process"), MessageIcon::Information);
    observer.batchFinished();
    return ExitStatusOf(state);
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
    const QStringList listed = BatchListEntries(config, command.folder);
    QStringList selected;
    if (command.entries.isEmpty()) {
        selected = listed;
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
    request.workPath = command.workPath.value_or(config.SavedWorkPath);
    request.outputPath = command.outputPath.value_or(config.SavedOutputPath);
    request.jobs = command.jobs;
    request.shard = command.shard;
    request.outputs = command.outputs;
    return RunBatch(state, request, observer);
}

void EndBatchSession(RunState& state)
{
    RemoveRunTempFolder(state);
}
