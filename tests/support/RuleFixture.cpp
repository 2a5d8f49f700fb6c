#include "support/RuleFixture.h"

#include "config/RoutineDeclTable.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/CharacterPatterns.h"
#include "rules/RuleRegistry.h"

RuleFixture::RuleFixture(const QByteArray& routineRows, const QByteArray& specialCharRows)
{
    TableSet& set = state.config.ActiveTableSet;
    set.file(SupportFile::RoutineDeclTbl)
        = dir.write("routine.tbl", "Tag | Routine | Parameter\r\n" + routineRows);
    set.file(SupportFile::SpecialCharTbl)
        = dir.write("special.tbl", "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n" + specialCharRows);
    set.CheckSpecialChar = QStringLiteral("TRUE");
    LoadRoutineDeclTable(state, set, IsRoutineName);
    LoadSpecialCharTable(state, set);
    state.reportFolder = dir.mkdir("work");
    state.outputFolder = dir.mkdir("out");
    state.findingSinks.subscribe(sink);
}

QStringList RuleFixture::run(const QByteArray& input)
{
    return run(input, Rules());
}

QStringList RuleFixture::run(const QByteArray& input, const RuleBook& rules)
{
    sink.findings.clear();
    state.inputPath = dir.write("input.xml", input);
    OpenReports(state);
    ValidateFile(state, rules);
    return sink.entries();
}

bool RuleFixture::setTable(SupportFile file, const QByteArray& text, TableLoader load)
{
    TableSet& set = state.config.ActiveTableSet;
    set.file(file) = dir.write(QStringLiteral("table%1.tbl").arg(int(file)), text);
    return load(state, set);
}

QByteArray RuleFixture::closeAndReadErrorReport()
{
    CloseReports(state);
    return TempDir::read(state.report.errorReportPath);
}

bool RuleFixture::loadTable(SupportFile which, const QByteArray& text)
{
    for (const TableLoaderEntry& entry : SupportTableLoaders()) {
        if (entry.file == which)
            return setTable(which, text, entry.load);
    }
    return false;
}
