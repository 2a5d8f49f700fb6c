#pragma once

#include "core/Finding.h"

#include <QString>
#include <cstdint>

struct RunState;

// The report writer: per input file an error report (".ERR") and a warning
// report (".WRN"), the editor files, and per run the program logs.
void OpenReports(RunState& state);
// Writes the finding to the report of its kind in the fixed layout, counts it,
// and hands it to every subscribed sink.
void ReportFinding(RunState& state, const Finding& finding);
// A finding of the routine that is running now (RunState::currentRoutine).
void WriteErrorEntry(RunState& state, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t column);
void WriteWarningEntry(RunState& state, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t column);
void CloseReports(RunState& state);
// Drops the reports of a file whose run ended before they were closed; the
// reports of an earlier run under the same names stay as they were.
void DiscardReports(RunState& state);
void OpenProgramLogs(RunState& state);
void CloseProgramLogs(RunState& state);
