#include "rules/PatternLint.h"

#include "config/TableReading.h"
#include "core/RunState.h"
#include "engine/RegExp.h"

void LintPattern(
    RunState& state, const QString& path, qsizetype index, const QString& pattern, bool ignoreCase)
{
    if (!TableReading::Linting(state))
        return;
    try {
        RegExp(pattern, false, ignoreCase).captureCount();
    } catch (const PatternError& error) {
        TableReading::Lint(state, path, index, QString::fromStdString(error.what()));
    }
}
