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
// compared, the whole-file checks in the order they run, and the checks that
// judge, after a file's last line, what routines gathered while it was
// scanned (a reference whose target may come later in the file).
struct RuleBook {
    QList<RuleEntry> routines;
    QList<RuleEntry> wholeFileChecks;
    QList<RuleEntry> fileEndChecks = {};
};

// Runs every routine of one row of the routine declaration table for the
// current tag. Rows are numbered from 1 as the scanner counts them; 0 is none.
void DispatchRow(RunState& state, int row, const RuleBook& rules);

// Runs one routine or check with its name as the current routine, so that its
// findings carry the name.
void RunRule(RunState& state, const RuleEntry& rule);
