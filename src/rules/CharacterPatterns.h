#pragma once

#include "core/TableSet.h"

#include <QList>
#include <QString>

struct ConfigurationLoading;
struct RuleContext;

// One row of the special-character table: four double-quoted fields,
// pattern, message, severity and case flag.
struct SpecialCharRow {
    QString pattern; // as written; "(hrt)", "(space)", "(tab)" still in place
    QString message;
    Severity severity = Severity::Warning; // "ERROR" (any case) gives an error entry
    bool ignoreCase = true; // the flag "C" (any case) makes the search respect letter case
};

struct SpecialCharTable : SupportTable {
    QList<SpecialCharRow> rows;
};

// Reads one table line into a row; false for a line that is not a row.
bool ParseSpecialCharLine(const QString& line, SpecialCharRow& row);

// The regular expression of a row, with its line-break, blank and tab words
// turned into groups.
QString PrepareSpecialCharPattern(const QString& pattern);

bool LoadSpecialCharTable(const ConfigurationLoading& loading, TableSet& set);

// The whole-file special-character check: every row's pattern searched in
// the whole text, each match reported at its line and column.
void CheckSpecialCharacters(RuleContext& rule);
