#pragma once

#include "config/SupportTables.h"

#include <QLatin1StringView>
#include <QList>
#include <QString>
#include <optional>

struct RunState;

using Routine = void (*)(RunState& state);

// One validation routine or whole-file check: the name tables call it by
// (upper case), what runs, and the support table it reads with that table's
// loader (none for a routine without a table of its own).
struct RuleEntry {
    QLatin1StringView name;
    Routine run = nullptr;
    std::optional<SupportFile> table = std::nullopt;
    TableLoader load = nullptr;
};

// What the driver runs: the per-element routines in the order names are
// compared, and the whole-file checks in the order they run.
struct RuleBook {
    QList<RuleEntry> routines;
    QList<RuleEntry> wholeFileChecks;
};

// Runs every routine of one row of the routine declaration table for the
// current tag. Rows are numbered from 1 as the scanner counts them; 0 is none.
void DispatchRow(RunState& state, int row, const RuleBook& rules);

// Runs one routine or check with its name as the current routine, so that its
// findings carry the name.
void RunRule(RunState& state, const RuleEntry& rule);
