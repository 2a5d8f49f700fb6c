#pragma once

#include "core/TableSet.h"
#include "core/TagNameIndex.h"

#include <QHash>
#include <QList>
#include <QString>

struct RunState;

struct RoutineCall {
    QString routineName; // trimmed, as written in the file
    QString parameter; // trimmed
    // Upper-cased once at load time: the dispatcher compares and hands these
    // for every tag.
    QString upperName;
    QString upperParameter;
};

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

// Loads the table; a routine name that isRoutineName rejects (it is handed
// the name upper-cased) refuses the table with "Invalid Routine Name: ".
bool LoadRoutineDeclTable(RunState& state, TableSet& set, bool (*isRoutineName)(const QString& upperName));
