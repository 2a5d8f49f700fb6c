#pragma once

#include <QString>

class OperatorInterface;
struct Configuration;
struct ConfigurationLoading;
struct TableSet;
struct TempFolderClaim;

// Reads and checks Quorvane.INI from the application folder
// (config.ApplicationPath, set by main). Shows its own messages; false means
// the run must not go on. A reader that only looks at the configuration
// leaves the temporary folder to the runs.
bool ReadConfigurationFile(const ConfigurationLoading& loading);
// The same for a run, which also claims the temporary folder (as
// ClaimTempFolder) and keeps its hold on it in `claim`.
bool ReadConfigurationFile(const ConfigurationLoading& loading, TempFolderClaim& claim);

// Applies one key of [SUPPORT FILES], [SETTINGS] or [PLUG-IN] to a set;
// false after it has shown a message for a bad value.
bool ReadTableSetKey(
    const ConfigurationLoading& loading, TableSet& set, const QString& key, const QString& value);

// The table set a run of the task reads: the default set overlaid with the
// named task's. An unknown code gets the default set and a diagnostic.
TableSet TableSetForTask(OperatorInterface& ui, const Configuration& config, const QString& taskCode);
