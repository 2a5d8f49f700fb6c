#pragma once

#include "app/Startup.h"

#include <QString>
#include <functional>

struct CommandLineOptions;
struct RunState;
class OperatorInterface;

// What every run of the program does around its windowed or headless part:
// the run state, the outputs asked for on the command line, start-up, and the
// one exit status. The executable and the window module both run through it,
// so a run ends the same way whichever half shows it. The caller has made the
// QCoreApplication (or QApplication) first.
int RunProgram(const CommandLineOptions& options, OperatorInterface& ui,
    const std::function<int(RunState& state, RunMode mode)>& runMode);

// Where Quorvane.INI is read from: --app-dir, else the executable's folder.
QString ApplicationFolder(const CommandLineOptions& options);

// Scripts and terminals see no window: say what the run found and where the
// reports are.
void PrintRunSummary(const RunState& state);
