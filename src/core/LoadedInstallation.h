#pragma once

#include "core/Configuration.h"
#include "core/SpellingEngine.h"

#include <QString>

// What start-up makes once and every run of the process reads: the
// configuration with its loaded table sets, and the spelling engine over the
// installation's dictionary. The files of a batch validated side by side
// share one installation and only read it; each worker asks the engine
// through a spelling state of its own.
struct LoadedInstallation {
    Configuration config;
    SpellingState spelling;
    QString programName = QStringLiteral("quorvane"); // names the program logs
};
