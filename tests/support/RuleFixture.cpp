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
    sink.findings.clear();
    state.inputPath = dir.write("input.xml", input);
    OpenReports(state);
    ValidateFile(state, Rules());
    return sink.entries();
}

bool RuleFixture::loadTable(SupportFile which, const QByteArray& text)
{
    TableSet& set = state.config.ActiveTableSet;
    set.file(which) = dir.write(QStringLiteral("table%1.tbl").arg(static_cast<int>(which)), text);
    for (const TableLoaderEntry& entry : SupportTableLoaders()) {
        if (entry.file == which)
            return entry.load(state, set);
    }
    return false;
}
