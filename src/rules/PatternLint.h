#pragma once

#include <QString>

struct ConfigurationLoading;

// For the configuration check: tells the table lint when a table's pattern
// does not compile under the tables' dialect, with the engine's reason and
// offset. Nothing when no lint listens.
void LintPattern(const ConfigurationLoading& loading, const QString& path, qsizetype index,
    const QString& pattern, bool ignoreCase);
