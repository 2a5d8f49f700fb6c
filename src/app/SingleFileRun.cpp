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
    if (state.checkFailures > 0)
        return ExitStatus::Refused;
    return state.report.runErrorEntries > 0 ? ExitStatus::ErrorsFound : ExitStatus::Clean;
}

// An input named like one of its own reports, in the working folder, would be
// emptied by the report before it is read.
void RefuseInputThatIsItsOwnReport(RunState& state)
{
    const QString name = InputFileNameOf(state.inputPath);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    const QString base = state.reportFolder + (dot < 0 ? name : name.left(dot));
    const QString input = QFileInfo(state.inputPath).canonicalFilePath();
    for (const QString& report : { base + QStringLiteral(".ERR"), base + QStringLiteral(".WRN") }) {
        if (QFileInfo(report).canonicalFilePath() != input)
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
        throw;
    }
}

int ValidateSingleFile(RunState& state)
{
    SelectTaskTableSet(state, state.taskCode);
    RefuseInputThatIsItsOwnReport(state);
    const TableSet& active = state.config.ActiveTableSet;
    if (!active.InputPlugins.isEmpty()) {
        StageInputInTempFolder(state);
        for (const QString& program : active.InputPlugins)
            RunOutsideProgram(program, state.inputPath);
    }
    OpenReports(state);
    ValidateFile(state, Rules());
    CloseReports(state);
    for (const QString& program : active.OutputPlugins)
        RunOutsideProgram(program, state.inputPath);

    OpenProgramLogs(state);
    // The run's image list was filled while the file was validated.
    ReportImagesWithoutCallout(state);
    CloseProgramLogs(state);
    RemoveRunTempFolder(state);
    return ExitStatusOf(state);
}

void RemoveRunTempFolder(RunState& state)
{
    const QString& temp = state.config.TempPath;
    if (temp.endsWith(QLatin1String("Quorvane_Temp/")) && QFileInfo(temp).isDir())
        modMoveFiles::RemoveFolderTree(state.ui, temp);
}
