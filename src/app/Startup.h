#pragma once

#include <QString>

struct RunState;

enum class RunMode { SingleFile, Batch };

// Start-up: reads the configuration, starts the spelling engine, loads every
// support table, then reads the command-line string and fills the run fields.
// Throws RunAborted when the run must not go on (the operator has been told).
RunMode Main(RunState& state, const QString& commandLine);
