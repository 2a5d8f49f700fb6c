#pragma once

#include "config/TableSet.h"

#include <QStringList>

struct RunState;

// A table whose rule reads its lines itself (the rules not written yet keep
// their tables this way, so that a bad or unreadable file is still caught at
// start-up).
struct LinesTable : SupportTable {
    QStringList lines;
};

using TableLoader = bool (*)(RunState& state, TableSet& set);

struct TableLoaderEntry {
    SupportFile file;
    TableLoader load;
};

// The loaders in the order they run, for the default set and for each task.
const QList<TableLoaderEntry>& SupportTableLoaders();

// Checks that every configured table exists, then loads the default set and
// each task's set. Shows its own messages; false ends the run.
bool LoadAllSupportTables(RunState& state);
