#include "support/RuleFixture.h"

#include "app/SingleFileRun.h"
#include "config/RoutineDeclTable.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/CharacterPatterns.h"
#include "rules/RuleRegistry.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

RuleFixture::RuleFixture(const QByteArray& routineRows, const QByteArray& specialCharRows)
{
    TableSet& set = state.activeTables;
    set.file(SupportFile::RoutineDeclTbl)
        = dir.write("routine.tbl", "Tag | Routine | Parameter\r\n" + routineRows);
    set.file(SupportFile::SpecialCharTbl)
        = dir.write("special.tbl", "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n" + specialCharRows);
    set.CheckSpecialChar = Switch::On;
    LoadRoutineDeclTable(loading(), set, RoutineNamed);
    LoadSpecialCharTable(loading(), set);
    state.reportFolder = dir.mkdir("work");
    state.outputFolder = dir.mkdir("out");
    state.findingSinks.subscribe(sink);
}

bool RuleFixture::loadTable(SupportFile which, const QByteArray& text)
{
    for (const TableLoaderEntry& loader : SupportTableLoaders()) {
        if (loader.file == which)
            return setTable(which, text, loader.load);
    }
    return false;
}

QStringList RuleFixture::run(const QByteArray& input)
{
    return run(input, Rules());
}

QStringList RuleFixture::run(const QByteArray& input, const RuleBook& rules)
{
    sink.findings.clear();
    // The declared routines run as the table resolved them: a book of other
    // routines needs the table resolved against it.
    if (&rules != &Rules())
        LoadRoutineDeclTable(
            loading(), state.activeTables, [&](const QString& name) { return FindRoutine(rules, name); });
    state.inputPath = dir.write("input.xml", input);
    OpenReports(state);
    ValidateRunFile(state, rules);
    return sink.entries();
}

bool RuleFixture::setTable(SupportFile file, const QByteArray& text, TableLoader load)
{
    TableSet& set = state.activeTables;
    set.file(file) = dir.write(QStringLiteral("table%1.tbl").arg(int(file)), text);
    return load(loading(), set);
}

QByteArray RuleFixture::closeAndReadErrorReport()
{
    CloseReports(state);
    return TempDir::read(state.report.errorReportPath);
}

void ExpectRuleCases(
    const QByteArray& routine, SupportFile file, const QByteArray& table, const QList<RuleCase>& cases)
{
    for (const RuleCase& c : cases) {
        RuleFixture fixture(routine);
        ASSERT_TRUE(fixture.loadTable(file, table));
        EXPECT_EQ(fixture.run(c.input), c.expected) << c.input.constData();
    }
}

void ExpectRuleCases(const QByteArray& routine, const QList<RuleCase>& cases)
{
    for (const RuleCase& c : cases) {
        RuleFixture fixture(routine);
        EXPECT_EQ(fixture.run(c.input), c.expected) << c.input.constData();
    }
}

void ExpectTableCases(
    const QByteArray& routine, SupportFile file, const QByteArray& header, const QList<TableCase>& cases)
{
    for (const TableCase& c : cases) {
        RuleFixture fixture(routine);
        ASSERT_TRUE(fixture.loadTable(file, header + c.rows)) << c.name;
        EXPECT_EQ(fixture.run(c.input), c.expected) << c.name;
    }
}
