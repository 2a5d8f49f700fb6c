#include "app/BatchShard.h"

#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "core/OperatorInterface.h"
#include "core/RunAborted.h"
#include "engine/OpenTagPass.h"
#include "engine/Validator.h"
#include "rules/ImageChecks.h"
#include "rules/RuleRegistry.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <algorithm>
#include <map>

namespace {

// Bumped whenever the record changes: a merge refuses a shard written by a
// program that wrote it otherwise.
const QString kRecordFormat = QStringLiteral("quorvane-shard-2");
const QByteArray kLineEnd = "\r\n";

// A path as seen from a folder, "/"-separated; "." for the folder itself.
QString relativeTo(const QString& folder, const QString& path)
{
    const QString relative = QDir(folder).relativeFilePath(QFileInfo(path).absoluteFilePath());
    return relative.isEmpty() ? QStringLiteral(".") : relative;
}

// --- the merge ---------------------------------------------------------------------------

// What one shard's folder holds, as its record tells it.
struct ShardFolder {
    QString folder; // as given, with a trailing "/"
    QString recordPath;
    int index = 0;
    int count = 0;
    int batchFiles = 0;
    QJsonObject batch; // input folder, entries and task code: the same for every shard of a batch
    QString programName;
    QString workFolder; // relative to the shard's folder
    QStringList outputs; // json, sarif, html relative to the shard's folder; empty when not asked for
    qint64 errorEntries = 0;
    int checkFailures = 0;
    QJsonObject carried; // what the slice's rules carried, for the checks after the batch
    RunFindings findings;
    QList<QByteArray> programLog; // the lines between its heading and its closing
    QList<QByteArray> errorViewLog;
    QList<QByteArray> programLogHeading; // the first three lines
    QList<QByteArray> errorViewHeading; // the first two lines
    QByteArray programLogEnded; // "Time Ended: ..."
    QList<QByteArray> errorViewEnding; // rule, empty line, "Time Ended: ..."
};

class MergeRefused {
public:
    explicit MergeRefused(QString why)
        : why(std::move(why))
    {
    }
    QString why;
};

QList<QByteArray> linesOf(const QString& path, const QString& what)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw MergeRefused(QStringLiteral("cannot read the %1 %2").arg(what, path));
    QList<QByteArray> lines = file.readAll().split('\n');
    // Every line of a log ends with CR LF: the split leaves one empty piece after the last.
    if (lines.isEmpty() || !lines.last().isEmpty())
        throw MergeRefused(QStringLiteral("the %1 %2 is cut short").arg(what, path));
    lines.removeLast();
    for (QByteArray& line : lines) {
        if (!line.endsWith('\r'))
            throw MergeRefused(QStringLiteral("the %1 %2 is not one Quorvane wrote").arg(what, path));
        line.chop(1);
    }
    return lines;
}

// The program log: title, "Time Started", rule, the files and run lines, rule,
// "Time Ended". The error-view log: title, "Time Started", the file blocks,
// rule, empty line, "Time Ended". A log of another shape was not completed.
void readLogs(ShardFolder& shard)
{
    const QString work = shard.folder + shard.workFolder + QLatin1Char('/');
    const QString programLogPath = work + shard.programName + QStringLiteral(".LOG");
    QList<QByteArray> log = linesOf(programLogPath, QStringLiteral("program log"));
    const bool programLogWhole = log.size() >= 5 && log[1].startsWith("Time Started: ")
        && log[2] == log[log.size() - 2] && log.last().startsWith("Time Ended: ");
    if (!programLogWhole)
        throw MergeRefused(QStringLiteral("the program log %1 is not complete").arg(programLogPath));
    shard.programLogHeading = log.mid(0, 3);
    shard.programLogEnded = log.last();
    shard.programLog = log.mid(3, log.size() - 5);

    const QString errorViewPath = work + shard.programName + QStringLiteral("_ErrView.LOG");
    log = linesOf(errorViewPath, QStringLiteral("error-view log"));
    const bool errorViewWhole = log.size() >= 5 && log[1].startsWith("Time Started: ")
        && log[log.size() - 2].isEmpty() && log.last().startsWith("Time Ended: ");
    if (!errorViewWhole)
        throw MergeRefused(QStringLiteral("the error-view log %1 is not complete").arg(errorViewPath));
    shard.errorViewHeading = log.mid(0, 2);
    shard.errorViewLog = log.mid(2, log.size() - 5);
    shard.errorViewEnding = log.mid(log.size() - 3);
}

// The one record below the shard's folder: a shard that failed leaves none.
QString findRecord(const QString& folder)
{
    if (!QFileInfo(folder).isDir())
        throw MergeRefused(folder + QStringLiteral(" is not a folder"));
    QStringList records;
    QDirIterator found(
        folder, { QStringLiteral("*_Shard.json") }, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (found.hasNext())
        records << found.next();
    if (records.isEmpty())
        throw MergeRefused(
            QStringLiteral("no shard record below %1: the shard failed or has not run").arg(folder));
    if (records.size() > 1)
        throw MergeRefused(
            QStringLiteral("%1 holds more than one shard record: %2").arg(folder, records.join(", ")));
    return records.first();
}

ShardFolder readShard(const QString& givenFolder)
{
    ShardFolder shard;
    shard.folder = QDir(givenFolder).absolutePath() + QLatin1Char('/');
    shard.recordPath = findRecord(shard.folder);
    QFile file(shard.recordPath);
    const QJsonObject record
        = file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
    const QJsonObject outputs = record.value(QStringLiteral("outputs")).toObject();
    shard.index = record.value(QStringLiteral("shard")).toInt();
    shard.count = record.value(QStringLiteral("shards")).toInt();
    if (record.value(QStringLiteral("format")).toString() != kRecordFormat || shard.index < 1
        || shard.index > shard.count
        || !FindingsFromJson(record.value(QStringLiteral("findings")).toObject(), shard.findings))
        throw MergeRefused(shard.recordPath + QStringLiteral(" is not a shard record this program can read"));
    shard.batchFiles = record.value(QStringLiteral("batchFiles")).toInt();
    shard.batch = record.value(QStringLiteral("batch")).toObject();
    shard.programName = record.value(QStringLiteral("programName")).toString();
    shard.errorEntries = qint64(record.value(QStringLiteral("errorEntries")).toDouble());
    shard.checkFailures = record.value(QStringLiteral("checkFailures")).toInt();
    shard.carried = record.value(QStringLiteral("carried")).toObject();
    // Where the shard wrote, seen from its folder: the same for every shard.
    shard.workFolder = relativeTo(shard.folder, QFileInfo(shard.recordPath).absolutePath());
    for (const char* kind : { "json", "sarif", "html" }) {
        const QString written = outputs.value(QLatin1String(kind)).toString();
        if (written.isEmpty()) {
            shard.outputs << QString();
            continue;
        }
        const QString relative = QDir::cleanPath(shard.workFolder + QLatin1Char('/') + written);
        if (relative == u".." || relative.startsWith(QLatin1String("../")) || QDir::isAbsolutePath(relative))
            throw MergeRefused(QStringLiteral("shard %1/%2 wrote its --%3 output outside %4; give each shard "
                                              "one folder that holds its --work, --output and outputs")
                                   .arg(shard.index)
                                   .arg(shard.count)
                                   .arg(QLatin1String(kind), givenFolder));
        shard.outputs << relative;
    }
    readLogs(shard);
    return shard;
}

// Every shard of one batch, once each, in slice order.
std::vector<ShardFolder> readShards(const QStringList& folders)
{
    std::map<int, ShardFolder> byIndex;
    int count = 0;
    for (const QString& folder : folders) {
        ShardFolder shard = readShard(folder);
        if (!byIndex.empty()) {
            const ShardFolder& first = byIndex.begin()->second;
            if (shard.count != first.count || shard.batch != first.batch
                || shard.batchFiles != first.batchFiles || shard.programName != first.programName)
                throw MergeRefused(QStringLiteral("%1 and %2 hold shards of different batches")
                                       .arg(first.folder, shard.folder));
            if (shard.workFolder != first.workFolder || shard.outputs != first.outputs)
                throw MergeRefused(
                    QStringLiteral("%1 and %2 lay out their folders differently; give every shard "
                                   "the same --work, --output and outputs inside its folder")
                        .arg(first.folder, shard.folder));
        }
        count = shard.count;
        const int index = shard.index;
        if (byIndex.contains(index))
            throw MergeRefused(QStringLiteral("shard %1/%2 is given twice: %3 and %4")
                                   .arg(index)
                                   .arg(count)
                                   .arg(byIndex.at(index).folder, shard.folder));
        byIndex.emplace(index, std::move(shard));
    }
    for (int index = 1; index <= count; ++index) {
        if (!byIndex.contains(index))
            throw MergeRefused(QStringLiteral("shard %1/%2 is missing").arg(index).arg(count));
    }
    std::vector<ShardFolder> shards;
    for (auto& [index, shard] : byIndex)
        shards.push_back(std::move(shard));
    return shards;
}

bool writeLines(const QString& path, const QList<QByteArray>& lines)
{
    QByteArray bytes;
    for (const QByteArray& line : lines)
        bytes += line + kLineEnd;
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

bool appendFile(const QString& from, const QString& to)
{
    QFile source(from);
    QFile target(to);
    return source.open(QIODevice::ReadOnly) && target.open(QIODevice::WriteOnly | QIODevice::Append)
        && target.write(source.readAll()) >= 0;
}

bool copyOver(const QString& from, const QString& to)
{
    QFile::remove(to);
    return QFile::copy(from, to);
}

// The files of every shard's folder in OUT, slice after slice: the editor
// files joined, the logs and outputs left to the caller, everything else
// copied (a later slice wins, as a later file of the batch does).
QStringList joinFolders(const std::vector<ShardFolder>& shards, const QString& out)
{
    const ShardFolder& first = shards.front();
    const QString work = first.workFolder == u"." ? QString() : first.workFolder + QLatin1Char('/');
    QSet<QString> leftToCaller { work + first.programName + QStringLiteral(".LOG"),
        work + first.programName + QStringLiteral("_ErrView.LOG") };
    for (const QString& output : first.outputs) {
        if (!output.isEmpty())
            leftToCaller.insert(output);
    }
    QStringList failures;
    for (const ShardFolder& shard : shards) {
        const QString record = relativeTo(shard.folder, shard.recordPath);
        QDirIterator entries(shard.folder,
            QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System,
            QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            const QFileInfo entry(entries.next());
            const QString relative = relativeTo(shard.folder, entry.filePath());
            const QString target = out + relative;
            bool done = true;
            if (entry.isDir() && !entry.isSymLink())
                done = QDir().mkpath(target);
            else if (relative == record || leftToCaller.contains(relative))
                continue;
            else if (entry.fileName() == u"error.edt" && relative.startsWith(work))
                done
                    = QDir().mkpath(QFileInfo(target).absolutePath()) && appendFile(entry.filePath(), target);
            else
                done = QDir().mkpath(QFileInfo(target).absolutePath()) && copyOver(entry.filePath(), target);
            if (!done)
                failures << target;
        }
    }
    return failures;
}

// The earliest start and the latest end of the shards stand for the batch's.
const ShardFolder& startedFirst(const std::vector<ShardFolder>& shards)
{
    return *std::min_element(shards.begin(), shards.end(), [](const ShardFolder& a, const ShardFolder& b) {
        return a.findings.startTime < b.findings.startTime;
    });
}
const ShardFolder& endedLast(const std::vector<ShardFolder>& shards)
{
    return *std::max_element(shards.begin(), shards.end(),
        [](const ShardFolder& a, const ShardFolder& b) { return a.findings.endTime < b.findings.endTime; });
}

QStringList writeLogs(
    const std::vector<ShardFolder>& shards, const QString& work, const std::vector<Finding>& runFindings)
{
    const ShardFolder& first = startedFirst(shards);
    const ShardFolder& last = endedLast(shards);
    QList<QByteArray> programLog = first.programLogHeading;
    QList<QByteArray> errorViewLog = first.errorViewHeading;
    for (const ShardFolder& shard : shards) {
        programLog += shard.programLog;
        errorViewLog += shard.errorViewLog;
    }
    for (const Finding& finding : runFindings)
        programLog += finding.message.toUtf8();
    programLog << first.programLogHeading[2] << last.programLogEnded;
    errorViewLog += last.errorViewEnding;
    QStringList failures;
    const QString programLogPath = work + first.programName + QStringLiteral(".LOG");
    const QString errorViewPath = work + first.programName + QStringLiteral("_ErrView.LOG");
    if (!writeLines(programLogPath, programLog))
        failures << programLogPath;
    if (!writeLines(errorViewPath, errorViewLog))
        failures << errorViewPath;
    return failures;
}

// The outputs as the whole batch's sinks would have heard it: every shard's
// files in slice order, then the findings of the run as a whole.
QStringList writeOutputs(
    const std::vector<ShardFolder>& shards, const QString& out, const std::vector<Finding>& runFindings)
{
    const ShardFolder& first = shards.front();
    const QStringList& outputs = first.outputs;
    if (std::all_of(outputs.cbegin(), outputs.cend(), [](const QString& path) { return path.isEmpty(); }))
        return {};
    auto at = [&](int kind) { return outputs[kind].isEmpty() ? QString() : out + outputs[kind]; };
    FindingOutputs sink(first.findings.toolName, first.findings.toolVersion, { at(0), at(1), at(2) });
    sink.onRunStarted(first.findings.taskCode, startedFirst(shards).findings.startTime);
    for (const ShardFolder& shard : shards) {
        for (const FileFindings& file : shard.findings.files) {
            if (!file.path.isEmpty())
                sink.onFileStarted(file.path);
            for (const Finding& finding : file.findings)
                sink.onFinding(finding);
            if (!file.path.isEmpty())
                sink.onFileEnded();
        }
    }
    for (const Finding& finding : runFindings)
        sink.onFinding(finding);
    sink.onRunEnded(endedLast(shards).findings.endTime, true);
    return sink.failures();
}

} // namespace

ShardSlice SliceOfBatch(int totalFiles, const ShardSpec& shard)
{
    if (shard.whole())
        return { 0, totalFiles };
    const auto edge = [&](int index) { return int(qint64(totalFiles) * index / shard.count); };
    const int first = edge(shard.index - 1);
    return { first, edge(shard.index) - first };
}

BatchPlan StartShard(RunState& state, BatchPlan whole, const ShardSpec& shard, int jobs)
{
    const ShardSlice slice = SliceOfBatch(int(whole.files.size()), shard);
    QStringList before;
    for (int i = 0; i < slice.first; ++i)
        before << whole.files[std::size_t(i)].path;
    if (!before.isEmpty()) {
        // The tag contexts are replaced at the slice's first tag before any
        // routine reads them; the open-tag list is all the files before hand on.
        const QList<ValidationContext> start = CarriedTagStateOf(state.file).openTags;
        SeedCarriedTagState(
            state.file, { OpenTagsAfterFiles(before, state.config.Utf8Input, start, jobs), {}, {}, {} });
    }
    BatchPlan plan;
    plan.walked = whole.walked;
    // What the walk could not take in leaves every slice incomplete.
    plan.unreadable = std::move(whole.unreadable);
    plan.notWalked = std::move(whole.notWalked);
    const auto begin = whole.files.begin() + slice.first;
    plan.files.assign(std::make_move_iterator(begin), std::make_move_iterator(begin + slice.count));
    return plan;
}

QString ShardRecordPath(const RunState& state)
{
    return state.workPath + state.programName + QStringLiteral("_Shard.json");
}

namespace {

bool writeRecord(RunState& state, const BatchRequest& request, const ShardSlice& slice, int totalFiles,
    const RunFindings& findings)
{
    const QString work = state.workPath;
    QJsonObject outputs;
    const std::pair<const char*, const QString*> asked[] = { { "json", &request.outputs.json },
        { "sarif", &request.outputs.sarif }, { "html", &request.outputs.html } };
    for (const auto& [kind, path] : asked)
        outputs.insert(QLatin1String(kind), path->isEmpty() ? QString() : relativeTo(work, *path));
    const QJsonObject record {
        { QStringLiteral("format"), kRecordFormat },
        { QStringLiteral("programName"), state.programName },
        { QStringLiteral("shard"), request.shard.index },
        { QStringLiteral("shards"), request.shard.count },
        { QStringLiteral("batchFiles"), totalFiles },
        { QStringLiteral("first"), slice.first + 1 },
        { QStringLiteral("count"), slice.count },
        { QStringLiteral("batch"),
            QJsonObject { { QStringLiteral("folder"), request.inputFolder },
                { QStringLiteral("entries"), QJsonArray::fromStringList(request.selected) },
                { QStringLiteral("taskCode"), state.taskCode } } },
        { QStringLiteral("errorEntries"), double(state.report.runErrorEntries) },
        { QStringLiteral("checkFailures"), state.checkFailures },
        { QStringLiteral("carried"), SavedRunStates(state.carriedStates) },
        { QStringLiteral("outputs"), outputs },
        { QStringLiteral("findings"), QJsonDocument::fromJson(FindingsJson(findings)).object() },
    };
    const QByteArray bytes = QJsonDocument(record).toJson(QJsonDocument::Indented);
    QSaveFile file(ShardRecordPath(state));
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

} // namespace

ShardFindings::ShardFindings(RunState& state, const ShardSpec& shard)
    : state_(state)
    , sharded_(!shard.whole())
    , collector_(kProgramTitle, QStringLiteral(QUORVANE_VERSION), {})
{
    if (!sharded_)
        return;
    QFile::remove(ShardRecordPath(state));
    state.findingSinks.subscribe(collector_);
}

ShardFindings::~ShardFindings()
{
    if (sharded_)
        state_.findingSinks.unsubscribe(collector_);
}

int FinishShard(RunState& state, const BatchRequest& request, int batchFiles, const RunFindings& findings)
{
    const ShardSlice slice = SliceOfBatch(batchFiles, request.shard);
    if (!writeRecord(state, request, slice, batchFiles, findings)) {
        state.ui.messageBox(QStringLiteral("Cannot write the shard record ") + ShardRecordPath(state),
            kProgramTitle, MessageIcon::Critical);
        return ExitStatus::Refused;
    }
    state.ui.diagnostic(
        QStringLiteral("shard %1/%2 validated %3 of the batch's %4 file(s); join the shards with --merge")
            .arg(request.shard.index)
            .arg(request.shard.count)
            .arg(slice.count)
            .arg(batchFiles));
    return ExitStatusOf(state);
}

int MergeShards(OperatorInterface& ui, const QString& outFolder, const QStringList& shardFolders)
{
    std::vector<ShardFolder> shards;
    RuleRunStates carried; // the whole batch's, slice after slice
    const QString out = QDir(outFolder).absolutePath() + QLatin1Char('/');
    try {
        shards = readShards(shardFolders);
        // A merge on top of an earlier one would mix the two batches' files.
        if (QFileInfo(out).exists()
            && !QDir(out).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden))
            throw MergeRefused(outFolder + QStringLiteral(" is not empty; merge into a new or empty folder"));
        for (const ShardFolder& shard : shards) {
            if (out.startsWith(shard.folder) || shard.folder.startsWith(out))
                throw MergeRefused(
                    QStringLiteral("%1 and the shard folder %2 overlap").arg(outFolder, shard.folder));
            if (!TakeInSavedRunStates(shard.carried, carried))
                throw MergeRefused(
                    shard.recordPath + QStringLiteral(" is not a shard record this program can read"));
        }
    } catch (const MergeRefused& refused) {
        ui.diagnostic(QStringLiteral("cannot merge: ") + refused.why);
        return ExitStatus::Refused;
    }

    const ShardFolder& first = shards.front();
    qint64 errorEntries = 0;
    int checkFailures = 0;
    for (const ShardFolder& shard : shards) {
        errorEntries += shard.errorEntries;
        checkFailures += shard.checkFailures;
    }
    // The run's image cross-check, over what every file of the batch called out.
    const std::vector<Finding> runFindings = ExcessImageFindings(carried);
    for (const Finding& finding : runFindings) {
        if (finding.kind == FindingKind::Error)
            ++errorEntries;
    }
    QDir().mkpath(out);
    const QString work = first.workFolder == u"." ? out : out + first.workFolder + QLatin1Char('/');
    QStringList failures = joinFolders(shards, out);
    QDir().mkpath(work);
    failures += writeLogs(shards, work, runFindings);
    failures += writeOutputs(shards, out, runFindings);
    for (const QString& failure : failures)
        ui.diagnostic(QStringLiteral("cannot write ") + failure);
    if (!failures.isEmpty())
        return ExitStatus::Refused;
    ui.messageBox(QStringLiteral("Finish Processing! Please view the log file/s in ") + work,
        QStringLiteral("Complete Process"), MessageIcon::Information);
    if (checkFailures > 0)
        return ExitStatus::Refused;
    return errorEntries > 0 ? ExitStatus::ErrorsFound : ExitStatus::Clean;
}
