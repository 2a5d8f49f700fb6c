#include "rules/ContentScan.h"

#include "config/ConfigurationLoading.h"
#include "engine/RegExp.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"
#include "rules/ElementContents.h"

#include <algorithm>

namespace {

// Where a placed finding stands: its one-based line and column, and its data.
struct FoundAt {
    qsizetype line;
    std::int32_t column;
    QString data;
};

FoundAt placementOf(const QString& text, const std::vector<std::int32_t>& starts, qsizetype offset)
{
    const auto after = std::upper_bound(starts.begin(), starts.end(), offset);
    const qsizetype index = after == starts.begin() ? 0 : (after - starts.begin()) - 1;
    const qsizetype lineStart = starts.empty() ? 0 : starts[index];
    const qsizetype lineEnd = index + 1 < qsizetype(starts.size()) ? starts[index + 1] - 2 : text.size();
    const qsizetype from = std::clamp(offset, lineStart, lineEnd);
    // The reports show 250 characters of data; a copy of the rest of a long
    // line for every finding of it would make a minified file quadratic.
    constexpr qsizetype kDataKept = 252;
    return { index + 1, static_cast<std::int32_t>(offset - lineStart + 1),
        QStringView(text).sliced(from, std::min(lineEnd - from, kDataKept)).toString() };
}

std::optional<ElementText> contentView(
    const QString& document, ToolkitState& toolkit, const ValidationContext& context)
{
    if (context.tagType != TagKind::Start)
        return std::nullopt;
    const std::optional<ContentRange> range = CurrentElementContent(document, toolkit, context);
    if (!range)
        return std::nullopt;
    return ElementText { QStringView(document).sliced(range->start, range->end - range->start),
        range->start };
}

} // namespace

void ReportPlaced(const RuleContext& rule, const PlacedFinding& finding)
{
    const FoundAt at = placementOf(rule.document, rule.lineStarts, finding.offset);
    rule.findings.report(
        finding.error ? Severity::Error : Severity::Warning, at.line, finding.message, at.data, at.column);
}

bool IsErrorSeverity(QStringView severity)
{
    return severity.compare(u"E", Qt::CaseInsensitive) == 0;
}

QString ElementNameOf(const QString& field)
{
    QString name = field.trimmed();
    if (name.startsWith(u'<'))
        name.remove(0, 1);
    if (name.endsWith(u'>'))
        name.chop(1);
    if (name.endsWith(u'/'))
        name.chop(1);
    return name.section(u' ', 0, 0);
}

qsizetype TagEnd(QStringView text, qsizetype at)
{
    for (qsizetype i = at + 1; i < text.size(); ++i) {
        if (text[i] == u'>')
            return i + 1;
        if (text[i] == u'<')
            return -1;
    }
    return -1;
}

QString TextWithoutTags(QStringView text)
{
    QString plain;
    plain.reserve(text.size());
    qsizetype from = 0;
    for (qsizetype at = text.indexOf(u'<'); at >= 0; at = text.indexOf(u'<', at + 1)) {
        const qsizetype end = TagEnd(text, at);
        if (end < 0)
            continue;
        plain += text.sliced(from, at - from);
        from = end;
        at = end - 1;
    }
    plain += text.sliced(from);
    return plain;
}

QString FoldBlanks(QStringView text)
{
    QString folded;
    folded.reserve(text.size());
    bool blank = false;
    for (const QChar c : text) {
        if (c == u' ' || c == u'\t' || c == u'\r' || c == u'\n') {
            blank = true;
            continue;
        }
        if (blank && !folded.isEmpty())
            folded += u' ';
        blank = false;
        folded += c;
    }
    return folded;
}

std::optional<ElementText> CurrentElementContentView(const RuleContext& rule)
{
    return contentView(rule.document, rule.toolkit, rule.tag);
}

QString AttributeValueOf(QStringView tag, QStringView name)
{
    if (name.isEmpty())
        return {};
    const QString key = u' ' + name.toString() + QStringLiteral("=\"");
    const qsizetype at = tag.indexOf(key);
    if (at < 0)
        return {};
    const qsizetype start = at + key.size();
    const qsizetype end = tag.indexOf(u'"', start);
    return end < 0 ? QString() : tag.sliced(start, end - start).toString();
}

TagSelector TagSelector::parse(const QString& field)
{
    TagSelector selector { ElementNameOf(field), {} };
    // Every name="value" written in the column is a condition.
    qsizetype from = 0;
    for (qsizetype equals = field.indexOf(QStringLiteral("=\"")); equals > 0;
         equals = field.indexOf(QStringLiteral("=\""), from)) {
        const qsizetype nameStart = field.lastIndexOf(u' ', equals) + 1;
        const qsizetype valueEnd = field.indexOf(u'"', equals + 2);
        if (valueEnd < 0 || nameStart <= 0)
            break;
        selector.attributes.append(
            { field.sliced(nameStart, equals - nameStart), field.sliced(equals + 2, valueEnd - equals - 2) });
        from = valueEnd + 1;
    }
    return selector;
}

bool TagSelector::matches(const QString& tagName, QStringView tagText) const
{
    if (tagName != name)
        return false;
    return std::all_of(attributes.begin(), attributes.end(), [&](const auto& attribute) {
        return AttributeValueOf(tagText, attribute.first) == attribute.second;
    });
}

void LintSeverity(const QString& field, const LineLint& lint)
{
    if (field.compare(u"E", Qt::CaseInsensitive) != 0 && field.compare(u"W", Qt::CaseInsensitive) != 0)
        lint(QStringLiteral("severity \"%1\" is none of E, W: the row reports warnings").arg(field));
}

void LintRegExp(const ConfigurationLoading& loading, const QString& pattern, const LineLint& lint)
{
    if (!TableReading::Linting(loading))
        return;
    try {
        RegExp(pattern, false, true).captureCount();
    } catch (const PatternError& error) {
        lint(QString::fromStdString(error.what()));
    }
}
