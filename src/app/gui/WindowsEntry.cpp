#include "app/CommandLine.h"
#include "app/ProgramRun.h"
#include "app/WindowsModule.h"
#include "app/gui/FrmMain.h"
#include "app/gui/FrmMultiple.h"
#include "app/gui/WindowOperator.h"
#include "core/RunAborted.h"
#include "core/RunState.h"

#include <QApplication>
#include <unistd.h>

namespace {

int runWindowed(RunState& state, RunMode mode, WindowOperator& windowOperator)
{
    if (mode == RunMode::Batch) {
        FrmMultiple window(state, &windowOperator);
        window.show();
        return QApplication::exec();
    }
    FrmMain window(state, windowOperator);
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
    return RunProgram(*options, windowOperator,
        [&](RunState& state, RunMode mode) { return runWindowed(state, mode, windowOperator); });
}
