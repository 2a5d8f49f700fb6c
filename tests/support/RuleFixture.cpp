#include "support/RuleFixture.h"

#include "config/RoutineDeclTable.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/CharacterPatterns.h"

#include <QRegularExpression>

RuleFixture::RuleFixture(const QByteArray& routineRows, const QByteArray& specialCharRows)
{
    TableSet& set = state.config.ActiveTableSet;
    set.file(SupportFile::RoutineDeclTbl)
        = dir.write("routine.tbl", "Tag | Routine | Parameter\r\n" + routineRows);
    set.file(SupportFile::SpecialCharTbl)
        = dir.write("special.tbl", "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n" + specialCharRows);
    set.CheckSpecialChar = QStringLiteral("TRUE");
    LoadRoutineDeclTable(state, set);
    LoadSpecialCharTable(state, set);
    state.reportFolder = dir.mkdir("work");
    state.outputFolder = dir.mkdir("out");
}

QStringList RuleFixture::run(const QByteArray& input)
{
    state.inputPath = dir.write("input.xml", input);
    OpenReports(state);
    ValidateFile(state);
    return ParseColumnEntries(state.report.columnEntryText);
}

QStringList ParseColumnEntries(const QString& columnEntryText)
{
    static const QRegularExpression entry(QStringLiteral("^(\\d+) - (\\d+) - ([EW]) / (.*?) +- (.*)$"));
    QStringList entries;
    for (const QString& line : columnEntryText.split(QStringLiteral("\r\n"), Qt::SkipEmptyParts)) {
        const auto match = entry.match(line);
        if (!match.hasMatch()) {
            entries << QStringLiteral("unparsed: ") + line;
            continue;
        }
        entries << QStringLiteral("%1:%2 %3 %4 | %5")
                       .arg(match.captured(1).toInt())
                       .arg(match.captured(2).toInt())
                       .arg(match.captured(3), match.captured(4), match.captured(5));
    }
    return entries;
}
