#pragma once

#include "core/Configuration.h"
#include "core/SpellingEngine.h"

#include <QString>

// What start-up makes once and every run of the process reads: the
// configuration with its loaded table sets, and the spelling engine over the
// installation's dictionary. Runs hold it const: what a run changes (its
// task's tables, its folders, the temporary folder it claims) lives in the
// run record. The files of a batch validated side by side share one
// installation; each worker asks the engine through a spelling state of its
// own.
struct LoadedInstallation {
    Configuration config;
    // Asked while runs read the installation: the engine loads its dictionary
    // on the first question and keeps its answers, which changes nothing it
    // will answer. A worker asks it only under the batch's lock.
    mutable SpellingState spelling;
    QString programName = QStringLiteral("quorvane"); // names the program logs
};
