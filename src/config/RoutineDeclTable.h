#pragma once

#include "core/TableSet.h"
#include "core/TagNameIndex.h"

#include <QHash>
#include <QList>
#include <QString>
#include <functional>

struct ConfigurationLoading;
// What a routine name stands for; the engine defines it, the table only
// keeps what the name resolved to.
struct RuleEntry;

// One routine a row declares. The table's columns: tag | routine | parameter;
// a row with an empty tag adds its routine to the row above.
struct RoutineCall {
    QString routineName; // trimmed, as written in the file
    QString parameter; // trimmed
    QString upperName;
    // Upper-cased once at load time: the dispatcher hands it for every tag.
    QString upperParameter;
    // The parameter read as a severity, for the routines whose parameter is one.
    Severity parameterSeverity = Severity::Warning;
    // The routine the name resolved to at load time, so that no name is
    // looked up per tag.
    const RuleEntry* rule = nullptr;
};

// Answers the routine an upper-cased name stands for; null for a name that
// is no routine.
using RoutineResolver = std::function<const RuleEntry*(const QString& upperName)>;

struct RoutineDeclRow {
    QString tag; // the element name, or "N/A" as written
    QList<RoutineCall> routines;
};

// The routine declaration table: which routines run for which element.
struct RoutineDeclTable : SupportTable {
    TagNameIndex index; // the tag of every row, in file order
    QList<RoutineDeclRow> rows; // zero-based: the file's first row is rows[0]

    // Lookups the scanner makes for every tag, prepared once at load time.
    QHash<QString, QList<int>> rowsByUpperTag; // upper-cased tag -> row indexes in file order
    int firstNotApplicableRow = -1; // first row tagged "N/A", -1 when none
};

// Loads the table; a routine name that resolves to nothing refuses the table
// with "Invalid Routine Name: ".
bool LoadRoutineDeclTable(const ConfigurationLoading& loading, TableSet& set, const RoutineResolver& resolve);
