#pragma once

#include <QString>

struct Configuration;
struct ConfigurationLoading;
class OperatorInterface;
struct TempFolderClaim;

// The missing-field list of a configuration: empty when nothing required is
// missing, otherwise the names as the operator sees them after the heading.
QString MissingConfigurationFields(const Configuration& config);

// Checks the configured lexicon, folders and temporary folder, showing a
// message for each problem, and, when given the run's claim on the temporary
// folder, claims it (as ClaimTempFolder); null leaves it alone.
bool CheckConfiguredPaths(const ConfigurationLoading& loading, TempFolderClaim* claim);

// Waits for this run's turn at TempPath (another run may hold it) and makes
// its working subfolder there, which the claim then names; the configuration
// keeps TempPath as configured. A batch window claims it per batch, so that a
// window left open blocks nobody. Nothing to do when the run holds it
// already; false (the operator told) when the subfolder cannot be made.
bool ClaimTempFolder(OperatorInterface& ui, const Configuration& config, TempFolderClaim& claim);
