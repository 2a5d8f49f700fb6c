#pragma once

#include "config/SupportTables.h"
#include "core/FileRecord.h"
#include "core/RunServices.h"

#include <QLatin1StringView>
#include <QList>
#include <QString>
#include <optional>

struct RuleContext;
struct RoutineDeclTable;

// What runs for an entry: it sees only its narrow context.
using Routine = void (*)(RuleContext& context);

// The configuration switch of a whole-file check: the check runs while the
// switch is on, and while it is unset when onWhenUnset says so.
struct RuleSwitch {
    Switch TableSet::*field = nullptr;
    QLatin1StringView key; // as the configuration file writes it
    bool onWhenUnset = false;
};

// One validation routine or whole-file check: the name tables call it by
// (upper case), what runs, the support table it reads with that table's
// loader (none for a routine without a table of its own), and the switch
// that turns it off (none for a check that always runs).
struct RuleEntry {
    QLatin1StringView name;
    Routine run = nullptr;
    std::optional<SupportFile> table = std::nullopt;
    TableLoader load = nullptr;
    RuleSwitch gate = {};
    // Makes the rule's own file state (none when null); entries naming the
    // same maker share one state.
    MakeRuleFileState makeFileState = nullptr;
    // Makes what the rule carries from one file to the next (none when null).
    MakeRuleRunState makeRunState = nullptr;
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

// Whether the rule runs with these settings: always, unless its switch says not.
bool SwitchedOn(const RuleEntry& rule, const TableSet& settings);

// The routine of the book with that upper-cased name; null when there is none.
const RuleEntry* FindRoutine(const RuleBook& rules, const QString& upperName);

// Runs every routine of one row of the routine declaration table for the
// current tag, each as its name resolved when the table loaded. Rows are
// numbered from 1 as the scanner counts them; 0 is none.
void DispatchRow(FileRecord& state, const RunServices& run, int row);
// The same with the declaration table the driver already holds, so that a
// tag does not look the table up again for every row.
void DispatchRow(FileRecord& state, const RunServices& run, const RoutineDeclTable& table, int row);

// Runs one routine or check with its name as the current routine, so that its
// findings carry the name, and with its own file state.
void RunRule(FileRecord& state, const RunServices& run, const RuleEntry& rule);
