#include "rules/ContentScan.h"

#include "core/RunState.h"
#include "engine/RegExp.h"
#include "engine/RuleHelpers.h"
#include "rules/ElementContents.h"

#include <algorithm>

void ReportPlaced(RunState& state, const PlacedFinding& finding)
{
    const std::vector<std::int32_t>& starts = state.lineStarts;
    const auto after = std::upper_bound(starts.begin(), starts.end(), finding.offset);
    const qsizetype index = after == starts.begin() ? 0 : (after - starts.begin()) - 1;
    const qsizetype lineStart = starts.empty() ? 0 : starts[index];
    const qsizetype lineEnd
        = index + 1 < qsizetype(starts.size()) ? starts[index + 1] - 2 : state.wholeText.size();
    const qsizetype from = std::clamp(finding.offset, lineStart, lineEnd);
    // The reports show 250 characters of data; a copy of the rest of a long
    // line for every finding of it would make a minified file quadratic.
    constexpr qsizetype kDataKept = 252;
    const QString data
        = QStringView(state.wholeText).sliced(from, std::min(lineEnd - from, kDataKept)).toString();
    const auto column = static_cast<std::int32_t>(finding.offset - lineStart + 1);
    ReportRuleFinding(state,
        { finding.error ? FindingKind::Error : FindingKind::Warning, index + 1, column, finding.message, data,
            QString(state.currentRoutine) });
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

std::optional<ElementText> CurrentElementContentView(RunState& state)
{
    if (state.context.tagType != TagKind::Start)
        return std::nullopt;
    const std::optional<ContentRange> range
        = CurrentElementContent(state.wholeText, state.toolkit, state.context);
    if (!range)
        return std::nullopt;
    return ElementText { QStringView(state.wholeText).sliced(range->start, range->end - range->start),
        range->start };
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

void LintRegExp(RunState& state, const QString& pattern, const LineLint& lint)
{
    if (!TableReading::Linting(state))
        return;
    try {
        RegExp(pattern, false, true).captureCount();
    } catch (const PatternError& error) {
        lint(QString::fromStdString(error.what()));
    }
}
