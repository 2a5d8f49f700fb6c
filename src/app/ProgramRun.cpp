#include "app/ProgramRun.h"

#include "app/CommandLine.h"
#include "app/SingleFileRun.h"
#include "core/MoveFiles.h"
#include "core/OperatorInterface.h"
#include "core/RunAborted.h"
#include "core/RunState.h"
#include "report/FindingOutputs.h"
#include "spelling/DeferredSpellingEngine.h"
#include "spelling/SpellingAnswerStore.h"

#include <QCoreApplication>
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

} // namespace

QString ApplicationFolder(const CommandLineOptions& options)
{
    return modMoveFiles::WithTrailingSlash(
        options.appDir.isEmpty() ? QCoreApplication::applicationDirPath() : options.appDir);
}

void PrintRunSummary(const RunState& state)
{
    std::printf("%s: %d error(s), %d warning(s)\nReports: %s %s\n", qPrintable(state.inputFileName),
        state.report.errorCount, state.report.warningCount, qPrintable(state.report.errorReportPath),
        qPrintable(state.report.warningReportPath));
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
            SpellingEngine* engine = state.spelling.engine.get();
            if (auto* caching = dynamic_cast<CachingSpellingEngine*>(engine))
                engine = &caching->engine();
            if (auto* deferred = dynamic_cast<DeferredSpellingEngine*>(engine))
                deferred->leakAtExit();
        }
    } leaveDictionary { state };
    state.config.ApplicationPath = ApplicationFolder(options);
    state.pluginTimeoutSeconds = options.pluginTimeoutSeconds;
    if (!options.noCache)
        state.spelling.cacheFolder = options.cacheDir.value_or(DefaultSpellingCacheFolder());
    const FindingOutputPaths outputPaths { options.jsonPath, options.sarifPath, options.htmlPath };
    FindingOutputs outputs(kProgramTitle, QStringLiteral(QUORVANE_VERSION), outputPaths);
    if (outputPaths.any())
        state.findingSinks.subscribe(outputs);

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
