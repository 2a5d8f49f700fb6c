#pragma once

#include "core/Configuration.h"
#include "core/OperatorInterface.h"
#include "core/TableLint.h"

// What reading Quorvane.INI and loading the support tables it names needs,
// and nothing else: whom to tell about a file that cannot be used, the
// configuration being filled, and, for the configuration check only, the lint
// that hears of every table line a loader drops. Loaders and readers change
// the configuration through it; the record itself stays as it was made.
struct ConfigurationLoading {
    OperatorInterface& ui;
    Configuration& config;
    // Null in a normal run, whose behaviour the lint must not change.
    TableLint* lint = nullptr;
};
