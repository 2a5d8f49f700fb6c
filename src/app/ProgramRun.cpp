#include "app/ProgramRun.h"

#include "app/CommandLine.h"
#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "core/MoveFiles.h"
#include "core/OperatorInterface.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "report/FindingOutputs.h"
#include "spelling/DeferredSpellingEngine.h"
#include "spelling/SpellingAnswerStore.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>
#include <cstdio>
#include <exception>

namespace {

// The run's answer also covers the outputs it was asked for: a missing one is
// a failure, not a clean run.
int withOutputs(int status, const FindingOutputs& outputs, OperatorInterface& ui)
{
    for (const QString& failure : outputs.failures())
        ui.diagnostic(QStringLiteral("cannot write ") + failure);
    return outputs.failures().isEmpty() ? status : int(ExitStatus::Refused);
}

// An output that cannot be written is refused before the run, not found
// missing after a night's batch whose files were passed on as checked. The
// probe is the very kind of write the run ends with, a file made beside the
// output and dropped again.
bool outputsWritable(const FindingOutputPaths& paths, OperatorInterface& ui)
{
    bool writable = true;
    for (const QString& path : { paths.json, paths.sarif, paths.html }) {
        if (path.isEmpty())
            continue;
        const QString folder = QFileInfo(path).absolutePath();
        QString why;
        if (!QFileInfo(folder).isDir()) {
            why = QStringLiteral("the folder %1 does not exist").arg(folder);
        } else if (QFileInfo(path).isDir()) {
            why = QStringLiteral("it is a folder");
        } else {
            QSaveFile probe(path);
            if (!probe.open(QIODevice::WriteOnly))
                why = probe.errorString();
            probe.cancelWriting();
        }
        if (!why.isEmpty()) {
            ui.diagnostic(QStringLiteral("cannot write %1: %2").arg(path, why));
            writable = false;
        }
    }
    return writable;
}

// The one input of a single-file run named as an output: writing the output
// would destroy it, and so would removing the output of an earlier run.
bool inputIsAnOutput(const QString& input, const FindingOutputPaths& paths, OperatorInterface& ui)
{
    for (const QString& path : { paths.json, paths.sarif, paths.html }) {
        if (!path.isEmpty() && !input.isEmpty() && IsSameFile(input, path)) {
            ui.messageBox(input
                    + QStringLiteral(" is also named as an output of this run.\r\n"
                                     "Choose another file for the output."),
                kProgramTitle, MessageIcon::Critical);
            return true;
        }
    }
    return false;
}

} // namespace

QString ApplicationFolder(const CommandLineOptions& options)
{
    return options.appDir.isEmpty() ? DefaultApplicationFolder(QCoreApplication::applicationDirPath())
                                    : FolderServices::WithTrailingSlash(options.appDir);
}

void PrintRunSummary(const RunState& state)
{
    std::printf("%s: %d error(s), %d warning(s)%s\nReports: %s %s\n", qPrintable(state.inputFileName),
        state.report.errorCount, state.report.warningCount,
        state.report.fileFailed() ? ", failed: the check did not finish or an output was not written" : "",
        qPrintable(state.report.errorReportPath), qPrintable(state.report.warningReportPath));
    std::fflush(stdout);
}

int RunProgram(const CommandLineOptions& options, OperatorInterface& ui,
    const std::function<int(RunState& state, RunMode mode)>& runMode)
{
    RunState state(ui);
    // The process ends with the run: its dictionary is left to the system.
    struct LeaveDictionaryToExit {
        RunState& state;
        ~LeaveDictionaryToExit()
        {
            SpellingEngine* engine = state.installation->spelling.engine.get();
            if (auto* caching = dynamic_cast<CachingSpellingEngine*>(engine))
                engine = &caching->engine();
            if (auto* deferred = dynamic_cast<DeferredSpellingEngine*>(engine))
                deferred->leakAtExit();
        }
    } leaveDictionary { state };
    LoadedInstallation& installation = state.ownInstallation();
    installation.config.ApplicationPath = ApplicationFolder(options);
    state.pluginTimeoutSeconds = options.pluginTimeoutSeconds;
    if (!options.noCache)
        installation.spelling.cacheFolder = options.cacheDir.value_or(DefaultSpellingCacheFolder());
    const FindingOutputPaths outputPaths { options.jsonPath, options.sarifPath, options.htmlPath };
    FindingOutputs outputs(kProgramTitle, QStringLiteral(QUORVANE_VERSION), outputPaths);
    if (outputPaths.any())
        state.findingSinks.subscribe(outputs);

    // Whatever ends this run, refused at start-up or failed half-way, no
    // output of an earlier run is left to pass for this one's (an input named
    // as an output aside: the refusal must not destroy it).
    const QString input = SplitCommandLine(options.commandLine).inputPath;
    outputs.removeFiles(input);
    if (inputIsAnOutput(input, outputPaths, ui) || !outputsWritable(outputPaths, ui))
        return ExitStatus::Refused;
    try {
        const RunMode mode = Main(state, options.commandLine);
        return withOutputs(runMode(state, mode), outputs, ui);
    } catch (const RunAborted& aborted) {
        RemoveRunTempFolder(state);
        return aborted.exitStatus();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "quorvane: unexpected failure: %s\n", failure.what());
        RemoveRunTempFolder(state);
        return ExitStatus::Refused;
    }
}
