#include "rules/HardReturns.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "engine/RuleContext.h"
#include "rules/ElementContents.h"
#include "text/TagScanner.h"
#include "text/TagSearch.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

using namespace Qt::Literals::StringLiterals;

bool LoadNoHrtTable(const ConfigurationLoading& loading, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, set.file(SupportFile::NoHRTDeclTbl), lines))
        return false;
    // Tag names and kinds read none of a run's toolkit values: the loader's
    // scanner has values of its own.
    ToolkitState scannerValues;
    const TagScanner xml(scannerValues);
    auto table = std::make_shared<NoHrtTable>();
    QString previousColumn;
    for (const QStringList& row :
        TableReading::RowsOf(loading, set.file(SupportFile::NoHRTDeclTbl), lines, 3)) {
        // Only neighbouring lines share a group: a later line with the same
        // enclosing element starts a group of its own.
        if (table->groups.isEmpty() || row[0] != previousColumn)
            table->groups.append({ xml.GetTagName(row[0]), {} });
        table->groups.last().entries.append({ xml.GetTagName(row[1]), SeverityOfCode(row[2]) });
        previousColumn = row[0];
    }
    set.table(SupportFile::NoHRTDeclTbl) = std::move(table);
    return true;
}

bool LoadWithHrtTable(const ConfigurationLoading& loading, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, set.file(SupportFile::WithHRTDeclTbl), lines))
        return false;
    // Tag names and kinds read none of a run's toolkit values: the loader's
    // scanner has values of its own.
    ToolkitState scannerValues;
    const TagScanner xml(scannerValues);
    auto table = std::make_shared<WithHrtTable>();
    const QString& path = set.file(SupportFile::WithHRTDeclTbl);
    // A code the rule does not know asks for no hard return at all.
    TableReading::LintCodes(
        loading, path, lines, 3, { { 1, u"position code"_s, { u"S"_s, u"E"_s, u"B"_s } } });
    for (const QStringList& row : TableReading::RowsOf(loading, path, lines, 3))
        table->rows.append({ row[0], xml.GetTagName(row[0]), xml.GetTagType(row[0]),
            PlacementOfCode(row[1], Qt::CaseInsensitive), SeverityOfCode(row[2]) });
    set.table(SupportFile::WithHRTDeclTbl) = std::move(table);
    return true;
}

namespace {

// How many code units of a hard return start at `at`: 2 for CR LF, the
// marker's length for "<HRT/>" or "<HRT />" in any letter case, else 0.
qsizetype hardReturnAt(QStringView text, qsizetype at)
{
    if (text[at] == u'\r')
        return at + 1 < text.size() && text[at + 1] == u'\n' ? 2 : 0;
    // Most "<" open another tag: one letter tells them apart before the
    // markers are compared (no other character folds to "h").
    if (text[at] != u'<' || at + 1 >= text.size() || (text[at + 1] != u'H' && text[at + 1] != u'h'))
        return 0;
    for (const QLatin1StringView marker : { "<HRT/>"_L1, "<HRT />"_L1 }) {
        if (text.sliced(at).startsWith(marker, Qt::CaseInsensitive))
            return marker.size();
    }
    return 0;
}

// The longest run of hard returns that follow each other directly. Counting
// markers as they stand gives the same runs as first rewriting every marker
// as CR LF: a rewritten marker can never join a neighbouring CR or LF into a
// new pair.
//
// Where a hard return may start, at or after `from`: a CR, or a "<" followed
// by the marker's first letter. Most "<" open other tags, and passing over
// them here spares a stop at every tag of the file. Eight places are looked
// at together; the last few go one by one.
qsizetype nextHardReturnStart(QStringView text, qsizetype from)
{
    const char16_t* units = text.utf16();
    const qsizetype size = text.size();
    qsizetype at = std::max<qsizetype>(from, 0);
#if defined(__SSE2__)
    const __m128i cr = _mm_set1_epi16(short(u'\r'));
    const __m128i lt = _mm_set1_epi16(short(u'<'));
    const __m128i lowerH = _mm_set1_epi16(short(u'h'));
    const __m128i upperH = _mm_set1_epi16(short(u'H'));
    for (; at + 9 <= size; at += 8) {
        const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + at));
        const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + at + 1));
        const __m128i marker = _mm_and_si128(_mm_cmpeq_epi16(here, lt),
            _mm_or_si128(_mm_cmpeq_epi16(next, lowerH), _mm_cmpeq_epi16(next, upperH)));
        if (const int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(here, cr), marker)))
            return at + qsizetype(__builtin_ctz(unsigned(mask)) / 2);
    }
#endif
    for (; at < size; ++at) {
        if (units[at] == u'\r' || (units[at] == u'<' && at + 1 < size && (units[at + 1] | 0x20) == u'h'))
            return at;
    }
    return -1;
}

// A hard return starts only at a CR or a "<", and any other character ends
// a run. Passing over a "<" that begins no marker changes no run: the next
// place found is then not where the hard return before it ends.
std::int64_t longestHardReturnRun(QStringView text, std::int64_t enough)
{
    std::int64_t longest = 0;
    std::int64_t run = 0;
    const auto candidateFrom = [&](qsizetype from) { return nextHardReturnStart(text, from); };
    for (qsizetype at = candidateFrom(0); at >= 0 && longest < enough;) {
        const qsizetype length = hardReturnAt(text, at);
        const qsizetype next = candidateFrom(at + std::max<qsizetype>(length, 1));
        if (length == 0) {
            run = 0;
            at = next;
            continue;
        }
        longest = std::max(longest, ++run);
        if (next != at + length)
            run = 0; // another character follows the hard return
        at = next;
    }
    return longest;
}

bool isMarkerName(const QString& name)
{
    return name.compare("HRT"_L1, Qt::CaseInsensitive) == 0;
}

// Column 1 always follows a hard return; otherwise the line must hold an HRT
// marker that ends right before the tag.
bool hardReturnBefore(const TagScanner& xml, const ValidationContext& context)
{
    if (context.linePosition <= 1)
        return true;
    const QString before = context.lineText.left(context.linePosition - 1);
    if (!before.endsWith(u'>'))
        return false;
    const qsizetype lastOpen = before.lastIndexOf(u'<');
    return lastOpen >= 0 && isMarkerName(xml.GetTagName(before.sliced(lastOpen)));
}

// The end of the line always is a hard return; otherwise an HRT marker must
// follow the tag directly.
bool hardReturnAfter(const TagScanner& xml, const ValidationContext& context)
{
    const qsizetype tagEnd = context.linePosition - 1 + context.tagText.size();
    if (tagEnd >= context.lineText.size())
        return true;
    const QString after = context.lineText.sliced(tagEnd);
    if (!after.startsWith(u'<'))
        return false;
    const qsizetype firstClose = after.indexOf(u'>');
    return firstClose >= 0 && isMarkerName(xml.GetTagName(after.left(firstClose + 1)));
}

// The message a row gives for the current tag; empty when the tag has the
// hard returns the row asks for.
QString withHrtMessage(const TagScanner& xml, const ValidationContext& context, Placement placement)
{
    const bool missingBefore = LooksBefore(placement) && !hardReturnBefore(xml, context);
    const bool missingAfter = LooksAfter(placement) && !hardReturnAfter(xml, context);
    if (missingBefore && missingAfter)
        return "Hard Return not found before & after "_L1 + context.tagText;
    if (missingBefore)
        return "Hard Return not found before "_L1 + context.tagText;
    if (missingAfter)
        return "Hard Return not found after "_L1 + context.tagText;
    return {};
}

// The entry for an element inside an enclosing element: only the first group
// of that enclosing element is consulted. A tag with no enclosing element is
// inside nothing, so no group applies to it (even a group whose first column
// is not a tag and so has no name either).
const NoHrtEntry* noHrtEntry(const NoHrtTable& table, QStringView enclosingName, QStringView elementName)
{
    if (enclosingName.isEmpty())
        return nullptr;
    const auto group = std::find_if(table.groups.begin(), table.groups.end(),
        [&](const NoHrtGroup& g) { return g.enclosingName == enclosingName; });
    if (group == table.groups.end())
        return nullptr;
    const auto entry = std::find_if(group->entries.begin(), group->entries.end(),
        [&](const NoHrtEntry& e) { return e.elementName == elementName; });
    return entry == group->entries.end() ? nullptr : &*entry;
}

bool containsLineBreak(const RuleContext& rule, const ContentRange& content)
{
    // A CR LF inside the content puts the start of a line at content start + 2
    // or later, up to the content's end.
    const auto nextLine = std::lower_bound(rule.lineStarts.begin(), rule.lineStarts.end(), content.start + 2);
    return nextLine != rule.lineStarts.end() && *nextLine <= content.end;
}

// A listed element must not hold a line break.
void lineBreakInsideElement(RuleContext& rule, const NoHrtTable& table)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType != TagKind::Start)
        return;
    // The enclosing name is read in place: this runs for every start tag of
    // the listed elements.
    const NoHrtEntry* entry
        = noHrtEntry(table, TagSearch::TagNameViewOf(context.enclosingTag), context.tagName);
    if (!entry)
        return;
    const std::optional<ContentRange> content = CurrentElementContent(rule.document, rule.toolkit, context);
    if (!content || !containsLineBreak(rule, *content))
        return;
    rule.findings.report(entry->severity, context.lineNumber, "Hard Return within "_L1 + context.tagText,
        rule.dataFrom(0), context.linePosition);
}

// The routine parameter reaches routines upper-cased while element names keep
// their letter case, so the element it names is looked for ignoring case.
bool parameterElementIsOpen(const RuleContext& rule)
{
    const QStringView parameter = rule.parameter;
    if (parameter == u"N/A")
        return true;
    return std::any_of(rule.openTags.begin(), rule.openTags.end(), [&](const ValidationContext& open) {
        return open.tagName.compare(parameter, Qt::CaseInsensitive) == 0;
    });
}

// An HRT marker must not stand inside a listed element. The marker's
// enclosing element is looked up as the element of step one is: its group,
// and in it the entry of that same element.
void markerInsideElement(RuleContext& rule, const NoHrtTable& table)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType != TagKind::Empty || !isMarkerName(context.tagName) || !parameterElementIsOpen(rule))
        return;
    const TagScanner xml(rule.toolkit);
    const QString enclosingName = xml.GetTagName(context.enclosingTag);
    const NoHrtEntry* entry = noHrtEntry(table, enclosingName, enclosingName);
    if (!entry)
        return;
    rule.findings.report(entry->severity, context.lineNumber,
        context.tagText + " within "_L1 + context.enclosingTag, rule.dataFrom(0), context.linePosition);
}

} // namespace

void CheckMultipleHardReturns(RuleContext& rule)
{
    const TableSet& active = rule.settings;
    // "At most n in a row" cannot hold for a negative n once the file has any
    // hard return at all, so a negative count is read as 0.
    const std::int64_t allowed = std::max<std::int64_t>(active.MultiHrtMaxCount, 0);
    if (longestHardReturnRun(rule.document, allowed + 1) <= allowed)
        return;
    rule.findings.report(active.MultiHrtSeverity.value_or(Severity::Warning), 0,
        "Consecutive hard returns exceed allowable count"_L1,
        "Max. Count: "_L1 + QString::number(active.MultiHrtMaxCount), 1);
}

void WITHHRT(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<WithHrtTable>(SupportFile::WithHRTDeclTbl);
    if (!table)
        return;
    const ValidationContext& context = rule.tag;
    const TagScanner xml(rule.toolkit);
    // Every row that applies is handled: one tag can give several findings.
    for (const WithHrtRow& row : table->rows) {
        if (row.tagName != context.tagName || row.tagKind != context.tagType)
            continue;
        const QString message = withHrtMessage(xml, context, row.placement);
        if (!message.isEmpty())
            rule.findings.report(
                row.severity, context.lineNumber, message, rule.dataFrom(0), context.linePosition);
    }
}

void NOHRT(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<NoHrtTable>(SupportFile::NoHRTDeclTbl);
    if (!table)
        return;
    lineBreakInsideElement(rule, *table);
    markerInsideElement(rule, *table);
}
