#include "app/SingleFileRun.h"

#include "config/ConfigurationFile.h"
#include "core/MoveFiles.h"
#include "core/RunAborted.h"
#include "core/RunState.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/PendingRoutines.h"
#include "rules/RuleRegistry.h"

#include <QFile>
#include <QProcess>

void RunOutsideProgram(const QString& program, const QString& inputPath)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, { inputPath });
    if (process.waitForStarted(-1))
        process.waitForFinished(-1);
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
    return state.report.runErrorEntries > 0 ? ExitStatus::ErrorsFound : ExitStatus::Clean;
}

void RunBeforePrograms(RunState& state)
{
    const TableSet& active = state.config.ActiveTableSet;
    if (active.InputPlugins.isEmpty())
        return;
    StageInputInTempFolder(state);
    for (const QString& program : active.InputPlugins)
        RunOutsideProgram(program, state.inputPath);
}

void RunAfterPrograms(RunState& state)
{
    for (const QString& program : state.config.ActiveTableSet.OutputPlugins)
        RunOutsideProgram(program, state.inputPath);
}

int RunSingleFile(RunState& state)
{
    SelectTaskTableSet(state, state.taskCode);
    RunBeforePrograms(state);
    OpenReports(state);
    ValidateFile(state, Rules());
    CloseReports(state);
    RunAfterPrograms(state);

    OpenProgramLogs(state);
    // The run's image list was filled while the file was validated.
    ReportImagesWithoutCallout(state);
    CloseProgramLogs(state);
    modMoveFiles::RemoveFolderTree(state.ui, state.config.TempPath);
    return ExitStatusOf(state);
}
