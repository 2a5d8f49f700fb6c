#pragma once

#include "core/Finding.h"
#include "core/LoadedInstallation.h"
#include "core/OperatorInterface.h"
#include "core/RuleFileState.h"
#include "core/SpellingEngine.h"

#include <QDateTime>
#include <functional>

// What of the run the engine uses while it checks a file, and nothing else:
// the installation (settings and tables), where messages and progress go, the
// spelling engine it asks (the installation's, or a batch worker's own), what rules carry from one file to
// the next, and where findings go. Whoever runs the engine (a run, a batch worker, a test) hands it over with
// the file's own record, so the engine never sees report files, batch paths or the lock of a run.
struct RunServices {
    OperatorInterface& ui;
    const LoadedInstallation& installation;
    // The tables and settings of the run's task.
    const TableSet& tables;
    SpellingState& spelling;
    RuleRunStates& carriedStates;
    FindingReceiver& findings;
    // The run's clock: a rule that checks dates asks it, and tests set it.
    const std::function<QDateTime()>& now;
};
