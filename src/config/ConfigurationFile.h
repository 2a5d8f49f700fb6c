#pragma once

#include <QLockFile>
#include <QString>
#include <memory>

struct ConfigurationLoading;
struct TableSet;

// Reads and checks Quorvane.INI from the application folder
// (config.ApplicationPath, set by main). Shows its own messages; false means
// the run must not go on. A reader that only looks at the configuration
// leaves the temporary folder to the runs.
bool ReadConfigurationFile(const ConfigurationLoading& loading);
// The same for a run, which also claims the temporary folder (as
// ClaimTempFolder) and keeps its hold on it in `tempFolderLock`.
bool ReadConfigurationFile(const ConfigurationLoading& loading, std::unique_ptr<QLockFile>& tempFolderLock);

// Applies one key of [SUPPORT FILES], [SETTINGS] or [PLUG-IN] to a set;
// false after it has shown a message for a bad value.
bool ReadTableSetKey(
    const ConfigurationLoading& loading, TableSet& set, const QString& key, const QString& value);

// Makes the active table set the default set overlaid with the named task's.
void SelectTaskTableSet(const ConfigurationLoading& loading, const QString& taskCode);
