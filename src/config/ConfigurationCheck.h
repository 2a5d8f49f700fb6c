#pragma once

#include <QLockFile>
#include <QString>
#include <memory>

struct Configuration;
struct ConfigurationLoading;

// The missing-field list of a configuration: empty when nothing required is
// missing, otherwise the names as the operator sees them after the heading.
QString MissingConfigurationFields(const Configuration& config);

// Checks the configured lexicon, folders and temporary folder, showing a
// message for each problem, and, when given the run's hold on the temporary
// folder, claims it with that (as ClaimTempFolder); null leaves it alone.
bool CheckConfiguredPaths(const ConfigurationLoading& loading, std::unique_ptr<QLockFile>* tempFolderLock);

// Waits for this run's turn at TempPath (another run may hold it) and makes
// its working subfolder there, which TempPath then names. A batch window
// claims it per batch, so that a window left open blocks nobody. Nothing to
// do when the run holds it already; false (the operator told) when the
// subfolder cannot be made. `tempFolderLock` is the run's hold on the folder,
// kept for as long as the run uses it.
bool ClaimTempFolder(const ConfigurationLoading& loading, std::unique_ptr<QLockFile>& tempFolderLock);
