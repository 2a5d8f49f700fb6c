#include "rules/CharacterPatterns.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "core/RunAborted.h"
#include "engine/RegExp.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"
#include "rules/PatternLint.h"

#include <new>

namespace {

const QString kQuoteWord = QStringLiteral("slashdoublequote");

} // namespace

bool ParseSpecialCharLine(const QString& line, SpecialCharRow& row)
{
    if (line.trimmed().isEmpty())
        return false;
    QStringList pieces = line.split(QLatin1Char('"'));
    bool quotesEscaped = false;
    if (pieces.size() > 9) {
        QString escaped = line;
        escaped.replace(QStringLiteral("\\\""), kQuoteWord);
        pieces = escaped.split(QLatin1Char('"'));
        quotesEscaped = true;
    }
    if (pieces.size() != 9)
        return false;
    if (quotesEscaped) {
        for (QString& piece : pieces)
            piece.replace(kQuoteWord, QStringLiteral("\""));
    }
    row = { pieces[1], pieces[3],
        pieces[5].compare(QLatin1String("ERROR"), Qt::CaseInsensitive) == 0 ? Severity::Error
                                                                            : Severity::Warning,
        pieces[7].compare(QLatin1String("C"), Qt::CaseInsensitive) != 0 };
    return true;
}

QString PrepareSpecialCharPattern(const QString& pattern)
{
    QString prepared = pattern;
    prepared.replace(QStringLiteral("(hrt)"), QStringLiteral("(\\r\\n)"));
    prepared.replace(QStringLiteral("(space)"), QStringLiteral("( )"));
    prepared.replace(QStringLiteral("(tab)"), QStringLiteral("(\\t)"));
    return prepared;
}

bool LoadSpecialCharTable(const ConfigurationLoading& loading, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, set.file(SupportFile::SpecialCharTbl), lines))
        return false;
    auto table = std::make_shared<SpecialCharTable>();
    const QString& path = set.file(SupportFile::SpecialCharTbl);
    // The first line names the columns, as in every headed table.
    for (qsizetype i = 1; i < lines.size(); ++i) {
        SpecialCharRow row;
        if (ParseSpecialCharLine(lines[i], row)) {
            LintPattern(loading, path, i, PrepareSpecialCharPattern(row.pattern), row.ignoreCase);
            table->rows.append(row);
        } else if (!lines[i].trimmed().isEmpty()) {
            TableReading::Lint(loading, path, i, QStringLiteral("row dropped: not four quoted fields"));
        }
    }
    set.table(SupportFile::SpecialCharTbl) = std::move(table);
    return true;
}

namespace {

void reportMatches(RuleContext& rule, const SpecialCharRow& row)
{
    RegExp search(PrepareSpecialCharPattern(row.pattern), true, row.ignoreCase);
    search.visitMatches(rule.document, [&](const RegExpMatch& match) {
        std::int32_t column = 1;
        const std::int32_t line
            = LineColumnAt(rule.document, rule.lineStarts, static_cast<std::int32_t>(match.index), column);
        QString shown = match.value;
        shown.replace(QStringLiteral("\r\n"), QStringLiteral("[hrt]"));
        rule.findings.report(row.severity, line, row.message, shown, column);
    });
}

} // namespace

// Searches the whole file for the characters and sequences of the special
// character table; every match is its own entry.
void CheckSpecialCharacters(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<SpecialCharTable>(SupportFile::SpecialCharTbl);
    if (!table)
        return;
    // A failing row (a pattern the engine rejects, a search past its limits)
    // ends the check for this file; what was written stays.
    try {
        for (const SpecialCharRow& row : table->rows)
            reportMatches(rule, row);
    } catch (const RunAborted&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        rule.findings.checkEnded(failure);
    }
}
