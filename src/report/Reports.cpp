#include "report/Reports.h"

#include "app/RunState.h"

// Placeholder bodies until the report writer lands.
void OpenReports(RunState&) {}
void WriteErrorEntry(RunState& state, std::int64_t, const QString&, const QString&, std::int32_t)
{
    ++state.report.runErrorEntries;
}
void WriteWarningEntry(RunState&, std::int64_t, const QString&, const QString&, std::int32_t) {}
void CloseReports(RunState&) {}
void OpenProgramLogs(RunState&) {}
void CloseProgramLogs(RunState&) {}
