#include "config/ConfigurationFile.h"

#include "app/RunState.h"

// Placeholder bodies until the configuration reader lands.
bool ReadConfigurationFile(RunState&) { return false; }
bool ReadTableSetKey(RunState&, TableSet&, const QString&, const QString&) { return false; }
void SelectTaskTableSet(RunState& state, const QString&) { state.config.ActiveTableSet = state.config.DefaultTableSet; }
