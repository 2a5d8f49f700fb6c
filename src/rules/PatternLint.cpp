#include "rules/PatternLint.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "engine/RegExp.h"

void LintPattern(const ConfigurationLoading& loading, const QString& path, qsizetype index,
    const QString& pattern, bool ignoreCase)
{
    if (!TableReading::Linting(loading))
        return;
    try {
        RegExp(pattern, false, ignoreCase).captureCount();
    } catch (const PatternError& error) {
        TableReading::Lint(loading, path, index, QString::fromStdString(error.what()));
    }
}
