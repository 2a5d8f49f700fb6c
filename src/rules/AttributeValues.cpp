#include "rules/AttributeValues.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "engine/RuleContext.h"
#include "text/TagScanner.h"

namespace {

// Whether any range separator occurs in the value, letter case ignored.
bool holdsRangeSeparator(const RuleContext& rule, const QString& value)
{
    for (const QString& separator : rule.settings.AttribRangeSeparators) {
        if (value.contains(separator, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

} // namespace

QStringList ParseLeadZeroDelimiters(const QString& field)
{
    QStringList slots;
    const QStringList pieces = field.trimmed().split(QStringLiteral("#&"));
    for (qsizetype k = 0; k < pieces.size(); ++k) {
        const QString piece = pieces[k].trimmed();
        if (piece.isEmpty())
            continue;
        slots.resize(k + 1);
        slots[k] = piece;
    }
    return slots;
}

bool LoadNoLeadZeroTable(const ConfigurationLoading& loading, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, set.file(SupportFile::NoLeadZeroTbl), lines))
        return false;
    auto table = std::make_shared<NoLeadZeroTable>();
    for (const QStringList& fields :
        TableReading::RowsOf(loading, set.file(SupportFile::NoLeadZeroTbl), lines, 3)) {
        table->rows.append({ fields[0], fields[1], ParseLeadZeroDelimiters(fields[2]) });
        table->tagNames.insert(fields[0]);
    }
    set.table(SupportFile::NoLeadZeroTbl) = std::move(table);
    return true;
}

bool LoadAttribUnconTable(const ConfigurationLoading& loading, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, set.file(SupportFile::AttribUnconTbl), lines))
        return false;
    auto table = std::make_shared<AttribUnconTable>();
    for (const QStringList& fields :
        TableReading::RowsOf(loading, set.file(SupportFile::AttribUnconTbl), lines, 4)) {
        // The kind comes from the row's own marker, not from the declaration.
        const Severity severity = fields[3].left(3).compare(QLatin1String("E /"), Qt::CaseInsensitive) == 0
            ? Severity::Error
            : Severity::Warning;
        table->rows.append({ fields[0], fields[1], fields[2], severity, fields[3].mid(3).trimmed() });
        table->tagNames.insert(fields[0]);
    }
    set.table(SupportFile::AttribUnconTbl) = std::move(table);
    return true;
}

void NOLEADZERO(RuleContext& rule)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType == TagKind::End)
        return;
    // Without "=" the tag has no attribute value to look at.
    if (!context.tagText.contains(u'='))
        return;
    const auto* table = rule.settings.loaded<NoLeadZeroTable>(SupportFile::NoLeadZeroTbl);
    // A name matching "[name]" of the index only across two entries matches
    // no row either, so the set of names answers the same.
    if (!table || !table->tagNames.contains(context.tagName))
        return;
    const TagScanner xml(rule.toolkit);
    for (const NoLeadZeroRow& row : table->rows) {
        if (row.tagName != context.tagName)
            continue;
        const QString value = xml.GetAttributeValue(context.tagText, row.attributeName).trimmed();
        if (value.isEmpty())
            continue;
        // A lone "0" counts as well: zero has no exemption.
        bool faulty = value.front() == u'0';
        QString squeezed = value;
        squeezed.remove(QLatin1Char(' '));
        for (qsizetype slot = 0; !faulty && slot < row.delimiters.size(); ++slot)
            faulty = squeezed.contains(row.delimiters[slot] + QLatin1Char('0'));
        if (faulty) {
            rule.reportAtTag(rule.parameterSeverity,
                QStringLiteral("Value of attribute contains leading zero: ") + row.attributeName
                    + QLatin1Char('=') + value);
        }
    }
}

void ATTRIBUNCONENTITY(RuleContext& rule)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType == TagKind::End)
        return;
    if (!context.tagText.contains(u'='))
        return;
    const auto* table = rule.settings.loaded<AttribUnconTable>(SupportFile::AttribUnconTbl);
    if (!table || !table->tagNames.contains(context.tagName))
        return;
    const TagScanner xml(rule.toolkit);
    for (const AttribUnconRow& row : table->rows) {
        if (row.tagName != context.tagName)
            continue;
        const QString value = xml.GetAttributeValue(context.tagText, row.attributeName).trimmed();
        if (value.isEmpty() || !value.contains(row.searchString))
            continue;
        // The kind comes from the row's own marker, not from the declaration.
        rule.reportAtTag(row.severity, row.message + QStringLiteral(" in ") + context.tagText);
    }
}

void ATTRIBRANGEVALIDITY(RuleContext& rule)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType == TagKind::End || !context.tagText.contains(u'='))
        return;
    const TagScanner xml(rule.toolkit);
    const QString number = xml.GetAttributeValue(context.tagText, QStringLiteral("number"));
    if (number.isEmpty() || !holdsRangeSeparator(rule, number))
        return;
    if (xml.GetAttributeValue(context.tagText, QStringLiteral("range")).toUpper() != QLatin1String("Y")) {
        rule.reportAtTag(rule.parameterSeverity,
            QStringLiteral("Multi-data for number attribute is not allowed ") + context.tagText);
    }
}

void ATTRIBNUMBERVALIDITY(RuleContext& rule)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType == TagKind::End || !context.tagText.contains(u'='))
        return;
    const TagScanner xml(rule.toolkit);
    if (xml.GetAttributeValue(context.tagText, QStringLiteral("range")).toUpper() != QLatin1String("Y"))
        return;
    // A missing or empty number is as wrong as a single one.
    const QString number = xml.GetAttributeValue(context.tagText, QStringLiteral("number"));
    if (!holdsRangeSeparator(rule, number))
        rule.reportAtTag(
            rule.parameterSeverity, QStringLiteral("Invalid range attribute value ") + context.tagText);
}
