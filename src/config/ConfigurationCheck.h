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
