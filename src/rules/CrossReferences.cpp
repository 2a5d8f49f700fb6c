#include "rules/CrossReferences.h"

#include "config/ConfigurationLoading.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"

#include <algorithm>

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isRangeDash(QChar c)
{
    return c == u'-' || c == QChar(0x2013);
}

bool isListSeparator(QChar c)
{
    return c == u',' || c == u';';
}

// Reads the digits from `at`; numbers longer than eighteen digits keep their
// first eighteen, which no citation reaches.
std::int64_t readNumber(QStringView text, qsizetype& at)
{
    std::int64_t value = 0;
    int digits = 0;
    for (; at < text.size() && isDigit(text[at]); ++at) {
        if (digits++ < 18)
            value = value * 10 + (text[at].unicode() - u'0');
    }
    return value;
}

// Where the second number of a range starts when a dash follows the number
// ending at `at`: blanks around the dash and letters before the number are
// allowed ("3 - 5", "b3-b5"); -1 when no range follows.
qsizetype rangeEndStart(QStringView text, qsizetype at)
{
    while (at < text.size() && text[at] == u' ')
        ++at;
    if (at >= text.size() || !isRangeDash(text[at]))
        return -1;
    ++at;
    while (at < text.size() && !isDigit(text[at]) && !isListSeparator(text[at]) && !isRangeDash(text[at]))
        ++at;
    return at < text.size() && isDigit(text[at]) ? at : -1;
}

struct CrossReferenceState : RuleFileState {
    TagSweep citationSweep;
    QList<CitationOrder> citationOrders; // one per row: figures and references count apart
    TagSweep referenceSweep;
    std::optional<ReferenceLedger> ledger;
};

CrossReferenceState& fileState(const RuleContext& rule)
{
    return rule.ownState<CrossReferenceState>();
}

// The text a row reads its numbers from: its matches' group 1 (or whole
// match) one after another, or the whole text when the row has no pattern.
QList<CitedRange> numbersOf(const CitationRow& row, QStringView text)
{
    if (!row.pattern)
        return CitedNumbers(text);
    QList<CitedRange> numbers;
    row.pattern->visitMatches(text, [&](const RegExpMatch& match) {
        const bool grouped = !match.submatches.isEmpty() && !match.submatches.front().isNull();
        const QString& part = grouped ? match.submatches.front() : match.value;
        numbers += CitedNumbers(part);
    });
    return numbers;
}

// The citation text of the current tag for one row: the attribute's value,
// or the element's text without its tags; nothing when the element is never
// closed or lies inside one of the same name already read.
std::optional<QString> citationText(const RuleContext& rule, const CitationRow& row, TagSweep& sweep)
{
    const ValidationContext& context = rule.tag;
    if (!row.attribute.isEmpty())
        return AttributeValueOf(context.tagText, row.attribute);
    const std::optional<ElementText> element = CurrentElementContentView(rule);
    if (!element || sweep.alreadyRead(context.tagName, element->offset))
        return std::nullopt;
    sweep.markRead(context.tagName, element->offset + element->content.size());
    return TextWithoutTags(element->content);
}

void checkCitations(const RuleContext& rule, const CitationTable& table)
{
    CrossReferenceState& file = fileState(rule);
    const ValidationContext& context = rule.tag;
    const qsizetype tagOffset = context.filePosition - 1;
    if (!file.citationSweep.firstVisit(tagOffset))
        return;
    file.citationOrders.resize(table.rows.size());
    // The element's text is read once however many rows ask for it.
    std::optional<std::optional<QString>> content;
    for (qsizetype i = 0; i < table.rows.size(); ++i) {
        const CitationRow& row = table.rows[i];
        if (!row.tag.matches(context.tagName, context.tagText))
            continue;
        std::optional<QString> text;
        if (row.attribute.isEmpty()) {
            if (!content)
                content = citationText(rule, row, file.citationSweep);
            text = *content;
        } else {
            text = citationText(rule, row, file.citationSweep);
        }
        if (!text)
            continue;
        for (const CitedRange& range : numbersOf(row, *text)) {
            if (const std::optional<std::int64_t> expected = file.citationOrders[i].cite(range))
                ReportPlaced(rule,
                    { tagOffset, row.error,
                        QStringLiteral("%1: %2 cited before %3")
                            .arg(row.message)
                            .arg(range.first)
                            .arg(*expected) });
        }
    }
}

// A failing pattern ends this tag's check; the run hears of it and cannot
// pass for checked.
template <class Check> void guarded(const RuleContext& rule, Check&& check)
{
    try {
        check();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const PatternError& failure) {
        rule.findings.checkEnded(failure);
    }
}

} // namespace

QList<CitedRange> CitedNumbers(QStringView text)
{
    QList<CitedRange> numbers;
    qsizetype at = 0;
    while (at < text.size()) {
        if (!isDigit(text[at])) {
            ++at;
            continue;
        }
        const qsizetype offset = at;
        const std::int64_t first = readNumber(text, at);
        std::int64_t last = first;
        if (const qsizetype second = rangeEndStart(text, at); second >= 0) {
            at = second;
            last = readNumber(text, at);
        }
        numbers.append({ std::min(first, last), std::max(first, last), offset });
    }
    return numbers;
}

std::optional<std::int64_t> CitationOrder::cite(const CitedRange& range)
{
    // With nothing cited yet the first citation must be 1 (0 is let pass).
    const std::int64_t next = std::max<std::int64_t>(highest_, 0) + 1;
    highest_ = std::max(highest_, range.last);
    if (range.first > next)
        return next;
    return std::nullopt;
}

bool LoadCitationTable(const ConfigurationLoading& loading, TableSet& set)
{
    return LoadRowTable<CitationTable>(loading, set, SupportFile::CitationValTbl, 5,
        [&](const QStringList& f, const LineLint& lint) -> std::optional<CitationRow> {
            if (f[0].isEmpty()) {
                lint(QStringLiteral("row dropped: no citation tag"));
                return std::nullopt;
            }
            LintSeverity(f[3], lint);
            CitationRow row { TagSelector::parse(f[0]), f[1], std::nullopt, IsErrorSeverity(f[3]), f[4] };
            if (!f[2].isEmpty()) {
                LintRegExp(loading, f[2], lint);
                row.pattern.emplace(f[2], true, true);
            }
            return row;
        });
}

void CITATIONVALIDITY(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<CitationTable>(SupportFile::CitationValTbl);
    const TagKind kind = rule.tag.tagType;
    if (!table || (kind != TagKind::Start && kind != TagKind::Empty))
        return;
    guarded(rule, [&] { checkCitations(rule, *table); });
}

bool LoadCountRefTable(const ConfigurationLoading& loading, TableSet& set)
{
    return LoadRowTable<CountRefTable>(loading, set, SupportFile::CountRefCheck, 6,
        [&](const QStringList& f, const LineLint& lint) -> std::optional<CountRefRow> {
            if (f[0].isEmpty() || f[1].isEmpty() || f[2].isEmpty() || f[3].isEmpty()) {
                lint(QStringLiteral("row dropped: a tag or attribute column is empty"));
                return std::nullopt;
            }
            if (f[4].compare(u"Y", Qt::CaseInsensitive) != 0 && f[4].compare(u"N", Qt::CaseInsensitive) != 0)
                lint(QStringLiteral("uncited code \"%1\" is none of Y, N: uncited targets go unreported")
                         .arg(f[4]));
            LintSeverity(f[5], lint);
            return CountRefRow { f[0], f[1], f[2], f[3], f[4].compare(u"Y", Qt::CaseInsensitive) == 0,
                IsErrorSeverity(f[5]) };
        });
}

template <class Side>
int ReferenceLedger::indexOf(QList<Side>& sides, const QString& field, const QString& attribute)
{
    const TagSelector tag = TagSelector::parse(field);
    for (qsizetype i = 0; i < sides.size(); ++i) {
        if (sides[i].tag.name == tag.name && sides[i].tag.attributes == tag.attributes
            && sides[i].attribute == attribute)
            return int(i);
    }
    Side side;
    side.tag = tag;
    side.attribute = attribute;
    sides.append(side);
    return int(sides.size() - 1);
}

ReferenceLedger::ReferenceLedger(const QList<CountRefRow>& rows)
{
    for (const CountRefRow& row : rows) {
        Referrer& referrer = referrers_[indexOf(referrers_, row.referringField, row.referringAttribute)];
        const int target = indexOf(targets_, row.targetField, row.targetAttribute);
        if (!referrer.targets.contains(target))
            referrer.targets.append(target);
        referrer.error = referrer.error || row.error;
        targets_[target].reportUncited = targets_[target].reportUncited || row.reportUncited;
        targets_[target].error = targets_[target].error || row.error;
    }
}

void ReferenceLedger::noteTag(const QString& tagName, QStringView tagText, qsizetype offset)
{
    for (Referrer& referrer : referrers_) {
        if (!referrer.tag.matches(tagName, tagText))
            continue;
        // One attribute may name several ids, separated by blanks.
        const QString value = AttributeValueOf(tagText, referrer.attribute);
        for (const QString& id : value.split(u' ', Qt::SkipEmptyParts))
            referrer.references.append({ id, offset });
    }
    for (Target& target : targets_) {
        if (!target.tag.matches(tagName, tagText))
            continue;
        const QString id = AttributeValueOf(tagText, target.attribute).trimmed();
        if (id.isEmpty())
            continue;
        if (target.ids.contains(id)) {
            target.duplicates.append({ id, offset });
            continue;
        }
        target.ids.insert(id);
        target.defined.append({ id, offset });
    }
}

QString ReferenceLedger::targetNames(const Referrer& referrer) const
{
    QStringList names;
    for (const int index : referrer.targets)
        names.append(targets_[index].tag.name + u' ' + targets_[index].attribute);
    return names.join(QStringLiteral(" or "));
}

QList<PlacedFinding> ReferenceLedger::findings() const
{
    QList<PlacedFinding> found;
    QList<QSet<QString>> cited(targets_.size());
    for (const Referrer& referrer : referrers_) {
        for (const Id& reference : referrer.references) {
            bool resolved = false;
            for (const int index : referrer.targets) {
                if (targets_[index].ids.contains(reference.id)) {
                    cited[index].insert(reference.id);
                    resolved = true;
                }
            }
            if (!resolved)
                found.append({ reference.offset, referrer.error,
                    QStringLiteral("Missing target: %1=\"%2\" (no %3)")
                        .arg(referrer.attribute, reference.id, targetNames(referrer)) });
        }
    }
    for (qsizetype i = 0; i < targets_.size(); ++i) {
        const Target& target = targets_[i];
        for (const Id& duplicate : target.duplicates)
            found.append({ duplicate.offset, target.error,
                QStringLiteral("Target given twice: %1 %2=\"%3\"")
                    .arg(target.tag.name, target.attribute, duplicate.id) });
        if (!target.reportUncited)
            continue;
        for (const Id& defined : target.defined) {
            if (!cited[i].contains(defined.id))
                found.append({ defined.offset, target.error,
                    QStringLiteral("Never referred to: %1 %2=\"%3\"")
                        .arg(target.tag.name, target.attribute, defined.id) });
        }
    }
    std::stable_sort(found.begin(), found.end(),
        [](const PlacedFinding& a, const PlacedFinding& b) { return a.offset < b.offset; });
    return found;
}

void CHECKCOUNTREFVALIDITY(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<CountRefTable>(SupportFile::CountRefCheck);
    const ValidationContext& context = rule.tag;
    if (!table || (context.tagType != TagKind::Start && context.tagType != TagKind::Empty))
        return;
    CrossReferenceState& file = fileState(rule);
    if (!file.referenceSweep.firstVisit(context.filePosition - 1))
        return;
    if (!file.ledger)
        file.ledger.emplace(table->rows);
    file.ledger->noteTag(context.tagName, context.tagText, context.filePosition - 1);
}

std::unique_ptr<RuleFileState> MakeCrossReferenceFileState()
{
    return MakeFileState<CrossReferenceState>();
}

// Its entry runs only where the routines made the state: a file in which
// they never ran has nothing to judge.
void ReportCountRefsAtFileEnd(RuleContext& rule)
{
    const CrossReferenceState& file = fileState(rule);
    if (!file.ledger)
        return;
    for (const PlacedFinding& finding : file.ledger->findings())
        ReportPlaced(rule, finding);
}
