#pragma once

#include <QString>

struct Configuration;
struct RunState;

// The missing-field list of a configuration: empty when nothing required is
// missing, otherwise the names as the operator sees them after the heading.
QString MissingConfigurationFields(const Configuration& config);

// Checks the configured lexicon, folders and temporary folder, showing a
// message for each problem, and, when `claimTemp`, waits for its turn at
// TempPath and makes the working subfolder there.
bool CheckConfiguredPaths(RunState& state, bool claimTemp = true);

// Waits for this run's turn at TempPath (another run may hold it) and makes
// its working subfolder there, which TempPath then names. A batch window
// claims it per batch, so that a window left open blocks nobody. Nothing to
// do when the run holds it already; false (the operator told) when the
// subfolder cannot be made.
bool ClaimTempFolder(RunState& state);
