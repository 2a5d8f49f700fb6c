#pragma once

#include "app/RunState.h"
#include "config/ConfigurationLoading.h"
#include "config/SupportTables.h"
#include "engine/Dispatch.h"
#include "support/RecordingOperator.h"
#include "support/RecordingSink.h"
#include "support/TempDir.h"

#include <QStringList>

// Runs the real driver with the real routines over an input text, with the
// routine declaration table and the special-character table given as text,
// and answers the findings reported, one "line:column K message | data"
// string each (K is E or W).
class RuleFixture {
public:
    explicit RuleFixture(const QByteArray& routineRows, const QByteArray& specialCharRows = {});

    QStringList run(const QByteArray& input);
    QStringList run(const QByteArray& input, const RuleBook& rules);

    // Writes the rule's own support table and loads it with its loader.
    bool setTable(SupportFile file, const QByteArray& text, TableLoader load);

    // Closes the reports of the last run and answers the error report's text.
    QByteArray closeAndReadErrorReport();

    // Writes a support table with the given text (header line included, if
    // the table has one) and loads it with its rule's own loader.
    bool loadTable(SupportFile which, const QByteArray& text);

    // What the fixture's loaders are handed; a test sets `lint` to hear them.
    ConfigurationLoading loading() { return { op, state.ownInstallation().config, lint }; }

    RecordingOperator op;
    RunState state { op };
    TableLint* lint = nullptr;
    RecordingSink sink;
    TempDir dir;
};

// One input and the findings a rule reports for it.
struct RuleCase {
    QByteArray input;
    QStringList expected;
};

// Runs the routine on each case with its table loaded afresh.
void ExpectRuleCases(
    const QByteArray& routine, SupportFile file, const QByteArray& table, const QList<RuleCase>& cases);
// The same for routines without a table of their own.
void ExpectRuleCases(const QByteArray& routine, const QList<RuleCase>& cases);

// One input with the table rows it is checked against (after the table's
// header line) and the findings the routines report for it.
struct TableCase {
    const char* name;
    QByteArray rows;
    QByteArray input;
    QStringList expected;
};

// Runs the declared routines on each case with its own rows under the header.
void ExpectTableCases(
    const QByteArray& routine, SupportFile file, const QByteArray& header, const QList<TableCase>& cases);
