#pragma once

struct CommandLineOptions;

// The windows (Qt Widgets, and through it Qt Gui, X11, fonts and GL) are a
// module of their own, libquorvane_windows.so beside the executable, which
// the executable opens only when it is going to show a window: a headless run
// then loads none of those libraries. The module takes the program's core
// from the executable, which exports it.

// Runs the windowed program: makes the QApplication, shows the single-file or
// the batch window and returns the process's exit status. The command line has
// been read and the display found to open.
extern "C" int quorvane_run_windows(int* argc, char** argv, const CommandLineOptions* options);

using RunWindowsFunction = int (*)(int* argc, char** argv, const CommandLineOptions* options);
inline constexpr char kRunWindowsSymbol[] = "quorvane_run_windows";
