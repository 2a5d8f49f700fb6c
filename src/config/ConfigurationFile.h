#pragma once

#include <QString>

struct RunState;
struct TableSet;

// Reads and checks Quorvane.INI from the application folder
// (state.config.ApplicationPath, set by main). Shows its own messages; false
// means the run must not go on. A run claims the temporary folder; a reader
// that only looks at the configuration leaves it to the runs.
enum class TempFolderUse { Claim, Leave };
bool ReadConfigurationFile(RunState& state, TempFolderUse temp = TempFolderUse::Claim);

// Applies one key of [SUPPORT FILES], [SETTINGS] or [PLUG-IN] to a set;
// false after it has shown a message for a bad value.
bool ReadTableSetKey(RunState& state, TableSet& set, const QString& key, const QString& value);

// Makes the active table set the default set overlaid with the named task's.
void SelectTaskTableSet(RunState& state, const QString& taskCode);
