#pragma once

#include <QString>
#include <cstdint>

struct RunState;

// The report writer: per input file an error report (".ERR") and a warning
// report (".WRN"), the editor files, and per run the program logs.
void OpenReports(RunState& state);
void WriteErrorEntry(RunState& state, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t column);
void WriteWarningEntry(RunState& state, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t column);
void CloseReports(RunState& state);
void OpenProgramLogs(RunState& state);
void CloseProgramLogs(RunState& state);
