#include "app/CommandLine.h"
#include "app/ProgramRun.h"
#include "app/RunState.h"
#include "app/WindowsModule.h"
#include "app/gui/BatchWindow.h"
#include "app/gui/FindingsViewer.h"
#include "app/gui/ProgressWindow.h"
#include "app/gui/WindowOperator.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "core/RunAborted.h"
#include "report/RecordedRun.h"

#include <QApplication>
#include <QFileInfo>
#include <cstdio>
#include <unistd.h>

namespace {

// How long the single-file window offers a run's findings before it ends.
constexpr int kFindingsOfferSeconds = 10;

// --view: the configuration only says how inputs are decoded, where they are
// looked for and which editor opens them; an installation without one is
// still viewed, with no editor.
int runViewer(const CommandLineOptions& options, WindowOperator& windowOperator)
{
    RunState state(windowOperator);
    Configuration& config = state.ownInstallation().config;
    config.ApplicationPath = ApplicationFolder(options);
    try {
        if (QFileInfo::exists(config.ApplicationPath + QStringLiteral("Quorvane.INI")))
            ReadConfigurationFile({ state.ui, config });
    } catch (const RunAborted&) {
        // Its messages have been shown; the findings are still worth a look.
    }
    const RecordedRun run
        = ReadRecordedRun(options.viewPath, { state.config.InputPath, state.config.InputFileMask });
    if (!run.error.isEmpty()) {
        std::fprintf(stderr, "quorvane: %s\n", qPrintable(run.error));
        windowOperator.messageBox(run.error, kProgramTitle, MessageIcon::Critical);
        return ExitStatus::Refused;
    }
    FindingsViewer viewer(run, ViewerSettingsOf(state.config), options.viewPath);
    viewer.show();
    return QApplication::exec();
}

int runWindowed(RunState& state, RunMode mode, WindowOperator& windowOperator)
{
    if (mode == RunMode::Batch) {
        BatchWindow window(state, &windowOperator);
        window.show();
        return QApplication::exec();
    }
    // Nobody sees an offscreen window, so there is nobody to offer the findings to.
    const int offerSeconds = QGuiApplication::platformName() == u"offscreen" ? 0 : kFindingsOfferSeconds;
    ProgressWindow window(state, windowOperator, offerSeconds);
    window.show();
    const int status = QApplication::exec();
    // Started from a terminal, the window run answers the shell too.
    if (status != ExitStatus::Refused && isatty(STDOUT_FILENO))
        PrintRunSummary(state);
    return status;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int quorvane_run_windows(
    int* argc, char** argv, const CommandLineOptions* options)
{
    QApplication application(*argc, argv);
    WindowOperator windowOperator;
    if (!options->viewPath.isEmpty())
        return runViewer(*options, windowOperator);
    return RunProgram(*options, windowOperator,
        [&](RunState& state, RunMode mode) { return runWindowed(state, mode, windowOperator); });
}
