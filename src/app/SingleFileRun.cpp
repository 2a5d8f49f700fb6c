#include "app/SingleFileRun.h"

#include "config/ConfigurationFile.h"
#include "core/MoveFiles.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "core/RunState.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/PendingRoutines.h"
#include "rules/RuleRegistry.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

void RunOutsideProgram(RunState& state, const QString& program, const QString& inputPath)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, { inputPath });
    // The run goes on whatever the program did, but a program that did not do
    // its work must not pass unnoticed.
    if (!process.waitForStarted(-1)) {
        state.ui.diagnostic(
            QStringLiteral("outside program %1 could not start: %2").arg(program, process.errorString()));
        return;
    }
    const int timeout = state.pluginTimeoutSeconds > 0 ? state.pluginTimeoutSeconds * 1000 : -1;
    if (!process.waitForFinished(timeout)) {
        process.kill();
        process.waitForFinished(-1);
        state.ui.diagnostic(QStringLiteral("outside program %1 stopped after %2 s")
                                .arg(program)
                                .arg(state.pluginTimeoutSeconds));
        return;
    }
    if (process.exitStatus() == QProcess::CrashExit)
        state.ui.diagnostic(QStringLiteral("outside program %1 crashed").arg(program));
    else if (process.exitCode() != 0)
        state.ui.diagnostic(
            QStringLiteral("outside program %1 ended with status %2").arg(program).arg(process.exitCode()));
}

void StageInputInTempFolder(RunState& state)
{
    const QString staged = state.config.TempPath + state.inputFileName;
    if (state.inputPath.toUpper() == staged.toUpper())
        return;
    QFile::remove(staged);
    QFile::copy(state.inputPath, staged);
    state.inputPath = staged;
}

int ExitStatusOf(const RunState& state)
{
    if (state.checkFailures > 0)
        return ExitStatus::Refused;
    return state.report.runErrorEntries > 0 ? ExitStatus::ErrorsFound : ExitStatus::Clean;
}

void RunBeforePrograms(RunState& state)
{
    const TableSet& active = state.config.ActiveTableSet;
    if (active.InputPlugins.isEmpty())
        return;
    StageInputInTempFolder(state);
    for (const QString& program : active.InputPlugins)
        RunOutsideProgram(state, program, state.inputPath);
}

void RunAfterPrograms(RunState& state)
{
    for (const QString& program : state.config.ActiveTableSet.OutputPlugins)
        RunOutsideProgram(state, program, state.inputPath);
}

namespace {

[[noreturn]] void refuseInput(RunState& state, const QString& text)
{
    state.ui.messageBox(text, kProgramTitle, MessageIcon::Critical);
    throw RunAborted(ExitStatus::Refused, "input is a file the run writes");
}

// Whether the path lies in the run's temporary folder, which goes when the run ends.
bool insideRunTempFolder(const RunState& state, const QString& path)
{
    const QString& temp = state.config.TempPath;
    if (!temp.endsWith(QLatin1String("Quorvane_Temp/")))
        return false;
    const QString folder = QFileInfo(temp).canonicalFilePath();
    return !folder.isEmpty() && QFileInfo(path).canonicalFilePath().startsWith(folder + QLatin1Char('/'));
}

} // namespace

// The run would empty, overwrite or remove such an input before or while it
// is read, and nobody would get it back.
void RefuseInputTheRunWrites(RunState& state)
{
    const QStringList written = FilesTheRunWrites(state);
    // A missing input matches nothing: the reading of the input reports it.
    for (qsizetype i = 0; i < written.size(); ++i) {
        if (!IsSameFile(state.inputPath, written[i]))
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
    if (insideRunTempFolder(state, state.inputPath)) {
        const QString temp = state.config.TempPath;
        // Left as it is: removing the folder at the end would take the input with it.
        state.config.TempPath.chop(QLatin1String("Quorvane_Temp/").size());
        refuseInput(state,
            state.inputPath
                + QStringLiteral(" lies in the temporary folder, which this run removes when it ends.\r\n"
                                 "Move it out of ")
                + temp + QLatin1Char('.'));
    }
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
    SelectTaskTableSet(state, state.taskCode);
    RefuseInputTheRunWrites(state);
    RunBeforePrograms(state);
    OpenReports(state);
    ValidateFile(state, Rules());
    CloseReports(state);
    RunAfterPrograms(state);

    OpenProgramLogs(state);
    // The run's image list was filled while the file was validated.
    ReportImagesWithoutCallout(state);
    CloseProgramLogs(state);
    state.findingSinks.runEnded(state.report.now(), true);
    RemoveRunTempFolder(state);
    return ExitStatusOf(state);
}

void ReleaseTempFolder(RunState& state)
{
    RemoveRunTempFolder(state);
    const QString suffix = QStringLiteral("Quorvane_Temp/");
    if (state.config.TempPath.endsWith(suffix))
        state.config.TempPath.chop(suffix.size());
    state.tempFolderLock.reset();
}

void RemoveRunTempFolder(RunState& state)
{
    const QString& temp = state.config.TempPath;
    if (temp.endsWith(QLatin1String("Quorvane_Temp/")) && QFileInfo(temp).isDir())
        modMoveFiles::RemoveFolderTree(state.ui, temp);
}
