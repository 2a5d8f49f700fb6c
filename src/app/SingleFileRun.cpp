#include "app/SingleFileRun.h"

#include "app/RunState.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "core/MoveFiles.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "engine/RuleHelpers.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/ImageChecks.h"
#include "rules/RuleRegistry.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSet>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

QString RunOutsideProgram(RunState& state, const QString& program, const QString& inputPath)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    // A group of its own, so that stopping the program also stops whatever it
    // started: left running, those could still write the staged input, and
    // they keep open the output a caller reads until they end.
    process.setChildProcessModifier([] { ::setpgid(0, 0); });
    process.start(program, { inputPath });
    QString failure;
    if (!process.waitForStarted(-1)) {
        failure
            = QStringLiteral("outside program %1 could not start: %2").arg(program, process.errorString());
    } else if (!process.waitForFinished(
                   state.pluginTimeoutSeconds > 0 ? state.pluginTimeoutSeconds * 1000 : -1)) {
        ::kill(-pid_t(process.processId()), SIGKILL);
        process.waitForFinished(-1);
        failure = QStringLiteral("outside program %1 stopped after %2 s")
                      .arg(program)
                      .arg(state.pluginTimeoutSeconds);
    } else if (process.exitStatus() == QProcess::CrashExit) {
        failure = QStringLiteral("outside program %1 crashed").arg(program);
    } else if (process.exitCode() != 0) {
        failure
            = QStringLiteral("outside program %1 ended with status %2").arg(program).arg(process.exitCode());
    }
    if (!failure.isEmpty())
        state.ui.diagnostic(failure);
    return failure;
}

QString StageInputInTempFolder(RunState& state)
{
    // A run stages in the working subfolder it holds; one that holds none
    // stages in the configured folder itself.
    const QString& folder = state.tempFolder.workingFolder;
    const QString staged = (folder.isEmpty() ? state.config.TempPath : folder) + state.inputFileName;
    if (state.inputPath.toUpper() == staged.toUpper())
        return {};
    QFile::remove(staged);
    QFile source(state.inputPath);
    if (!source.copy(staged))
        return QStringLiteral("cannot copy %1 to %2: %3").arg(state.inputPath, staged, source.errorString());
    state.inputPath = staged;
    return {};
}

int ExitStatusOf(const RunState& state)
{
    const ReportState& report = state.report;
    if (state.checkFailures > 0 || report.failedFiles > 0 || !report.runFailures.isEmpty())
        return ExitStatus::Refused;
    return report.runErrorEntries > 0 ? ExitStatus::ErrorsFound : ExitStatus::Clean;
}

// What a before-program leaves is only worth validating when it did its
// work: a program that failed may have left its copy cut short or untouched.
// The file fails instead, with no validation and nothing passed on.
void RunBeforePrograms(RunState& state)
{
    const TableSet& active = state.activeTables;
    if (active.InputPlugins.isEmpty())
        return;
    if (const QString failure = StageInputInTempFolder(state); !failure.isEmpty()) {
        state.ui.diagnostic(failure);
        state.report.checkNotFinished.append(failure + QStringLiteral("; the file was not validated"));
        return;
    }
    for (const QString& program : active.InputPlugins) {
        const QString failure = RunOutsideProgram(state, program, state.inputPath);
        if (!failure.isEmpty()) {
            state.report.checkNotFinished.append(failure + QStringLiteral("; the file was not validated"));
            return;
        }
    }
}

// A file that failed is not handed on to the after-programs, which take it
// as checked; an after-program that fails fails the run.
void RunAfterPrograms(RunState& state)
{
    if (state.report.fileFailed())
        return;
    for (const QString& program : state.activeTables.OutputPlugins) {
        const QString failure = RunOutsideProgram(state, program, state.inputPath);
        if (!failure.isEmpty())
            state.report.runFailures.append(failure);
    }
}

void ValidateRunFile(RunState& state, const RuleBook& rules)
{
    ValidateRunFile(state, state.services(), rules);
}

void ValidateRunFile(RunState& state, const RunServices& services, const RuleBook& rules)
{
    FileRecord& file = state.file;
    file.inputPath = state.inputPath;
    file.deliveredPath = state.currentInputPath.isEmpty() ? state.inputPath : state.currentInputPath;
    ValidateFile(file, services, rules);
    state.report.inputIdentity = file.inputIdentity;
}

void ValidateOneFile(RunState& state, bool reportsFirst)
{
    if (reportsFirst) {
        OpenReports(state);
        RunBeforePrograms(state);
    } else {
        RunBeforePrograms(state);
        OpenReports(state);
    }
    if (!state.report.fileFailed())
        ValidateRunFile(state, Rules());
}

void RemoveLeftoversOfKilledRuns(const RunState& state, const QString& reportFolder,
    const QString& outputFolder, const QSet<QString>& keep)
{
    QStringList folders { reportFolder, QFileInfo(outputFolder + QLatin1Char('x')).absolutePath() };
    if (!state.config.CreateLogFolder.isEmpty())
        folders.append(outputFolder + state.config.CreateLogFolder + QLatin1Char('/'));
    for (const QString& folder : folders)
        RemoveLeftoverPartFiles(folder, keep);
}

namespace {

[[noreturn]] void refuseInput(RunState& state, const QString& text)
{
    state.ui.messageBox(text, kProgramTitle, MessageIcon::Critical);
    throw RunAborted(ExitStatus::Refused, "input is a file the run writes");
}

} // namespace

InputRefusal::InputRefusal(RunState& state)
    : state_(state)
{
}

InputRefusal::Found InputRefusal::identityOf(const QString& path)
{
    const auto known = identities_.constFind(path);
    if (known != identities_.cend())
        return *known;
    // A new job's folders are empty: one look at each spares a batch a
    // question per file it would write, all asked before any file is read.
    if (seenEmpty(path.left(path.lastIndexOf(QLatin1Char('/')) + 1)))
        return identities_.insert(path, {}).value();
    struct stat info { };
    const bool exists = ::stat(QFile::encodeName(path).constData(), &info) == 0;
    return identities_.insert(path, { exists, info.st_dev, info.st_ino }).value();
}

// Whether the folder could be read and held nothing. Nothing is written
// while the inputs are refused, so the answer holds for all of them.
bool InputRefusal::seenEmpty(const QString& folder)
{
    if (folder.isEmpty())
        return false;
    const auto known = emptyFolders_.constFind(folder);
    if (known != emptyFolders_.cend())
        return *known;
    bool empty = false;
    if (DIR* listing = ::opendir(QFile::encodeName(folder).constData())) {
        empty = true;
        while (const dirent* entry = ::readdir(listing)) {
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
                empty = false;
                break;
            }
        }
        ::closedir(listing);
    }
    return emptyFolders_.insert(folder, empty).value();
}

QString InputRefusal::canonicalFolder(const QString& folder)
{
    const auto known = canonicalFolders_.constFind(folder);
    if (known != canonicalFolders_.cend())
        return *known;
    return canonicalFolders_.insert(folder, QFileInfo(folder).canonicalFilePath()).value();
}

// The run would empty, overwrite or remove such an input before or while it
// is read, and nobody would get it back.
void InputRefusal::check()
{
    RunState& state = state_;
    // A missing input matches nothing and lies nowhere: the reading of the
    // input reports it.
    const QByteArray input = QFile::encodeName(state.inputPath);
    struct stat entry { };
    if (::lstat(input.constData(), &entry) != 0)
        return;
    const bool linked = S_ISLNK(entry.st_mode);
    struct stat target = entry;
    if (linked && ::stat(input.constData(), &target) != 0)
        return;
    const QStringList written = FilesTheRunWrites(state);
    for (qsizetype i = 0; i < written.size(); ++i) {
        const Found found = identityOf(written[i]);
        if (!found.exists || found.device != target.st_dev || found.inode != target.st_ino)
            continue;
        // The first four are the file's own reports, finished and in the making.
        if (i < 4)
            refuseInput(state,
                state.inputPath
                    + QStringLiteral(" is where its own report would be written.\r\n"
                                     "Move it out of the working folder."));
        refuseInput(state,
            state.inputPath + QStringLiteral(" would be overwritten or removed by this run as ") + written[i]
                + QStringLiteral(".\r\nMove it out of the working and output folders."));
    }
    if (insideRunTempFolder(linked)) {
        const QString temp = state.tempFolder.workingFolder;
        // Left as it is: removing the folder at the end would take the input with it.
        state.tempFolder.workingFolder.clear();
        refuseInput(state,
            state.inputPath
                + QStringLiteral(" lies in the temporary folder, which this run removes when it ends.\r\n"
                                 "Move it out of ")
                + temp + QLatin1Char('.'));
    }
}

// Whether the input lies in the run's temporary folder, which goes when the
// run ends. A file that is no link lies where its folder really is.
bool InputRefusal::insideRunTempFolder(bool linked)
{
    const QString& temp = state_.tempFolder.workingFolder;
    if (temp.isEmpty())
        return false;
    const QString folder = canonicalFolder(temp);
    if (folder.isEmpty())
        return false;
    const QFileInfo input(state_.inputPath);
    QString path;
    if (linked) {
        path = input.canonicalFilePath();
    } else {
        path = canonicalFolder(input.absolutePath());
        if (!path.endsWith(QLatin1Char('/')))
            path += QLatin1Char('/');
        path += input.fileName();
    }
    return path.startsWith(folder + QLatin1Char('/'));
}

void RefuseInputTheRunWrites(RunState& state)
{
    InputRefusal(state).check();
}

int RunSingleFile(RunState& state)
{
    try {
        return ValidateSingleFile(state);
    } catch (const RunAborted&) {
        DiscardReports(state);
        state.findingSinks.runEnded(state.report.now(), false);
        throw;
    }
}

int ValidateSingleFile(RunState& state)
{
    state.findingSinks.runStarted(state.taskCode, state.report.now());
    state.activeTables = TableSetForTask(state.ui, state.config, state.taskCode);
    StartImageCrossCheck(state.carriedStates);
    RefuseInputTheRunWrites(state);
    RemoveLeftoversOfKilledRuns(
        state, state.reportFolder, state.outputFolder, { QFileInfo(state.inputPath).absoluteFilePath() });
    state.report.startFile();
    ValidateOneFile(state, false);
    CloseReports(state);
    RunAfterPrograms(state);

    OpenProgramLogs(state);
    // The image check's carried state was filled while the file was validated.
    ReportImagesWithoutCallout(state);
    CloseProgramLogs(state);
    state.findingSinks.runEnded(state.report.now(), true);
    RemoveRunTempFolder(state);
    return ExitStatusOf(state);
}

void ReportImagesWithoutCallout(RunState& state)
{
    for (const Finding& finding : ExcessImageFindings(state.carriedStates))
        state.receiver().runFinding(finding);
}

void ReleaseTempFolder(RunState& state)
{
    RemoveRunTempFolder(state);
    state.tempFolder.workingFolder.clear();
    state.tempFolder.lock.reset();
}

void RemoveRunTempFolder(RunState& state)
{
    const QString& temp = state.tempFolder.workingFolder;
    if (!temp.isEmpty() && QFileInfo(temp).isDir())
        FolderServices::RemoveFolderTree(state.ui, temp);
}
