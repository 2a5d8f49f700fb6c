#pragma once

#include <QLatin1StringView>
#include <QList>
#include <QString>

struct RunState;

using Routine = void (*)(RunState& state);

struct RoutineEntry {
    QLatin1StringView name; // upper case
    Routine run;
};

// Every routine by name, in the order names are compared. Adding a routine is
// one line here plus its file under rules/.
const QList<RoutineEntry>& RoutineTable();

// Whether an upper-cased name is a routine the table declaration may name.
bool IsRoutineName(const QString& upperName);

// Runs every routine of one row of the routine declaration table for the
// current tag. Rows are numbered from 1 as the scanner counts them; 0 is none.
void DispatchRow(RunState& state, int row);

// The dispatcher with its own routine table, so that tests can watch which
// routine runs for which tag.
void DispatchRow(RunState& state, int row, const QList<RoutineEntry>& routines);
