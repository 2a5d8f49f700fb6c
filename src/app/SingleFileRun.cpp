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
#include <csignal>
#include <unistd.h>

void RunOutsideProgram(RunState& state, const QString& program, const QString& inputPath)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    // A group of its own, so that stopping the program also stops whatever it
    // started: left running, those could still write the staged input, and
    // they keep open the output a caller reads until they end.
    process.setChildProcessModifier([] { ::setpgid(0, 0); });
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
        ::kill(-pid_t(process.processId()), SIGKILL);
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

// An input named like one of its own reports, in the working folder, would be
// emptied by the report before it is read.
void RefuseInputThatIsItsOwnReport(RunState& state)
{
    const QString name = InputFileNameOf(state.inputPath);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    const QString base = state.reportFolder + (dot < 0 ? name : name.left(dot));
    // A missing input matches nothing: the reading of the input reports it.
    for (const QString& report : { base + QStringLiteral(".ERR"), base + QStringLiteral(".WRN") }) {
        if (!IsSameFile(state.inputPath, report))
            continue;
        state.ui.messageBox(state.inputPath
                + QStringLiteral(" is where its own report would be written.\r\n"
                                 "Move it out of the working folder."),
            kProgramTitle, MessageIcon::Critical);
        throw RunAborted(ExitStatus::Refused, "input is its own report");
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
    RefuseInputThatIsItsOwnReport(state);
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

void RemoveRunTempFolder(RunState& state)
{
    const QString& temp = state.config.TempPath;
    if (temp.endsWith(QLatin1String("Quorvane_Temp/")) && QFileInfo(temp).isDir())
        modMoveFiles::RemoveFolderTree(state.ui, temp);
}
