#include "rules/TextValidity.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "core/ElementIndex.h"
#include "core/HugePages.h"
#include "core/NameMemo.h"
#include "core/RunAborted.h"
#include "engine/Dispatch.h"
#include "engine/PatternSearch.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"
#include "rules/PatternLint.h"
#include "text/TagScanner.h"
#include "text/TagSearch.h"

#include <QDate>
#include <QLocale>
#include <QSet>
#include <algorithm>
#include <limits>
#include <new>

namespace {

// The "@eval" operator's parts, read below with the arithmetic.
QStringView comparisonIn(QStringView text);
qsizetype expressionStart(QStringView operatorText);

const QString kSpaceEscape = QStringLiteral("<space>");
const QString kHrtEscape = QStringLiteral("<hrt>");

// A tag written without angle brackets names its element all the same.
QString rowTag(const QString& column, const TagScanner& xml)
{
    return xml.GetTagName(column.startsWith(u'<') ? column : u'<' + column + u'>');
}

QStringList excludedNames(const QString& column)
{
    QStringList names;
    for (const QString& entry : column.split(u',')) {
        if (const QString name = entry.trimmed(); !name.isEmpty())
            names.append(name);
    }
    return names;
}

} // namespace

TextValidityRow ParseTextValidityRow(const QStringList& columns, const TagScanner& xml)
{
    TextValidityRow row;
    row.condition = QString(columns[0]).replace(kSpaceEscape, QStringLiteral(" "));
    row.valuePattern = QString(columns[1])
                           .replace(kSpaceEscape, QStringLiteral(" "))
                           .replace(kHrtEscape, QStringLiteral("\r\n"));
    row.tag = rowTag(columns[2], xml);
    row.splitOnTags = columns[3] == u"Y";
    row.excluded = excludedNames(columns[4]);
    row.operatorText = columns[5];
    row.operatorKind = TextValidityOperatorKind(row.operatorText);
    if (row.operatorKind == TextValidityOperator::Arithmetic) {
        row.arithmeticExpressionStart = expressionStart(row.operatorText);
        row.arithmeticComparison = comparisonIn(row.operatorText);
    }
    row.number = LeadingNumber(columns[6]);
    row.severity = SeverityOfCode(columns[7]);
    row.message = columns[8];
    row.preparationKey = (row.splitOnTags ? u'Y' : u'N') + row.excluded.join(u'\n');
    row.conditionExpression = RegExp(row.condition, true, true);
    row.valueExpression = RegExp(row.valuePattern, true, false);
    return row;
}

// Every line is a row when it has nine columns: the table's own first line
// is not skipped, so a table without a header loses nothing, and a header
// that does split into nine columns names no real element.
bool LoadTextValidityTable(const ConfigurationLoading& loading, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, set.file(SupportFile::TextValidityTbl), lines))
        return false;
    auto table = std::make_shared<TextValidityTable>();
    // Tag names and kinds read none of a run's toolkit values: the loader's
    // scanner has values of its own.
    ToolkitState scannerValues;
    const TagScanner xml(scannerValues);
    const QString& path = set.file(SupportFile::TextValidityTbl);
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString& line = lines[i];
        if (line.trimmed().isEmpty())
            continue;
        const QStringList columns = TableReading::SplitRow(line);
        if (columns.size() != 9) {
            // A first line of another width is the header it is meant to be.
            if (i > 0)
                TableReading::Lint(loading, path, i, TableReading::WrongFieldCount(columns.size(), 9));
            continue;
        }
        TextValidityRow row = ParseTextValidityRow(columns, xml);
        if (TableReading::Linting(loading)) {
            if (!row.condition.isEmpty())
                LintPattern(loading, path, i, row.condition, true);
            LintPattern(loading, path, i, row.valuePattern, false);
            if (const QString problem = TextValidityOperatorProblem(row.operatorText); !problem.isEmpty())
                TableReading::Lint(loading, path, i, problem);
        }
        table->index.add(row.tag);
        table->rowsByTag[row.tag].append(int(table->rows.size()));
        table->rows.append(std::move(row));
    }
    set.table(SupportFile::TextValidityTbl) = std::move(table);
    return true;
}

// --- Numbers and comparisons -------------------------------------------------

std::int32_t LeadingNumber(QStringView text)
{
    qsizetype at = 0;
    while (at < text.size() && (text[at] == u' ' || text[at] == u'\t'))
        ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == u'-' || text[at] == u'+'))
        negative = text[at++] == u'-';
    std::int64_t value = 0;
    constexpr std::int64_t kLimit = std::int64_t(std::numeric_limits<std::int32_t>::max()) + 1;
    for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at)
        value = std::min(value * 10 + (text[at].unicode() - u'0'), kLimit);
    value = negative ? -value : std::min(value, kLimit - 1);
    return std::int32_t(value);
}

std::optional<bool> CompareBy(QStringView comparison, double a, double b)
{
    if (comparison == u"=")
        return a == b;
    if (comparison == u"!=")
        return a != b;
    if (comparison == u"<")
        return a < b;
    if (comparison == u">")
        return a > b;
    if (comparison == u"=>")
        return a >= b;
    if (comparison == u"=<")
        return a <= b;
    return std::nullopt;
}

namespace {

// The count operators say what is wrong, not what is required: "<" reports a
// count that is not less than the number, and so on.
bool isCountOperator(QStringView op)
{
    return op == u"=" || op == u"!=" || op == u"<" || op == u">" || op == u"=>" || op == u"=<";
}

// --- "@eval" ---------------------------------------------------------------------

// The comparison an "@eval" operator holds, wherever it stands: before the
// closing parenthesis ("@eval(=)$1+$2") or after it ("(@eval)2+3=", where the
// expression's last term reads "3=" as 3). Two-character ones are looked for first.
QStringView comparisonIn(QStringView text)
{
    for (const char16_t* comparison : { u"!=", u"=>", u"=<", u"=", u"<", u">" }) {
        if (text.contains(QStringView(comparison)))
            return QStringView(comparison);
    }
    return {};
}

bool isAsciiDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// The expression with its values put in: "$1" to "$99" are the groups of the
// match, "$&" the whole match, and a bare "$" the value under test (group 1,
// or the whole match when the pattern has no group). "[Dollar]" is a "$" as
// text. Values go in as they stand, so a "$" inside a value is never read again.
QString expandExpression(QStringView expression, const RegExpMatch& match)
{
    const auto group
        = [&](qsizetype n) { return n <= match.submatches.size() ? match.submatches[n - 1] : QString(); };
    const auto isGroup = [&](qsizetype n) { return n >= 1 && n <= match.submatches.size(); };
    QString out;
    for (qsizetype i = 0; i < expression.size();) {
        if (expression.sliced(i).startsWith(u"[Dollar]")) {
            out += u'$';
            i += 8;
            continue;
        }
        if (expression[i] != u'$') {
            out += expression[i++];
            continue;
        }
        const QChar next = i + 1 < expression.size() ? expression[i + 1] : QChar();
        const QChar after = i + 2 < expression.size() ? expression[i + 2] : QChar();
        if (next == u'&') {
            out += match.value;
            i += 2;
        } else if (isAsciiDigit(next) && isAsciiDigit(after)
            && isGroup((next.unicode() - u'0') * 10 + after.unicode() - u'0')) {
            out += group((next.unicode() - u'0') * 10 + after.unicode() - u'0');
            i += 3;
        } else if (isAsciiDigit(next) && isGroup(next.unicode() - u'0')) {
            out += group(next.unicode() - u'0');
            i += 2;
        } else {
            out += match.submatches.isEmpty() ? match.value : match.submatches.front();
            i += 1;
        }
    }
    return out;
}

bool isArithmeticSign(QChar c)
{
    return c == u'+' || c == u'-' || c == u'*' || c == u'/';
}

// Folds the terms left to right: each sign joins the term before it to the
// term after it, with no precedence. A leading sign leaves an empty first
// term, read as 0. Division is exact; dividing by 0 gives nothing.
std::optional<double> foldTerms(QStringView expression)
{
    double result = 0;
    QChar pending; // no sign yet: the first term starts the result
    qsizetype termStart = 0;
    for (qsizetype i = 0; i <= expression.size(); ++i) {
        if (i < expression.size() && !isArithmeticSign(expression[i]))
            continue;
        const double term = LeadingNumber(expression.sliced(termStart, i - termStart));
        if (pending.isNull())
            result = term;
        else if (pending == u'+')
            result += term;
        else if (pending == u'-')
            result -= term;
        else if (pending == u'*')
            result *= term;
        else if (term == 0)
            return std::nullopt;
        else
            result /= term;
        pending = i < expression.size() ? expression[i] : QChar();
        termStart = i + 1;
    }
    return result;
}

} // namespace

namespace {

// Where an "@eval" operator's expression starts: after its last ")".
qsizetype expressionStart(QStringView operatorText)
{
    return operatorText.lastIndexOf(u')') + 1;
}

bool evaluateArithmetic(QStringView expression, QStringView comparison, std::int32_t number,
    const RegExp& valueExpression, QStringView content)
{
    // With no value in the content there is nothing to relate: the row holds.
    for (const RegExpMatch& match : SearchMatches(valueExpression, content)) {
        const std::optional<double> result = foldTerms(expandExpression(expression, match));
        if (!result || !CompareBy(comparison, *result, number).value_or(false))
            return false;
    }
    return true;
}

} // namespace

bool EvaluateArithmetic(
    const QString& operatorText, std::int32_t number, const RegExp& valueExpression, QStringView content)
{
    return evaluateArithmetic(QStringView(operatorText).sliced(expressionStart(operatorText)),
        comparisonIn(operatorText), number, valueExpression, content);
}

TextValidityOperator TextValidityOperatorKind(const QString& op)
{
    if (isCountOperator(op))
        return TextValidityOperator::Count;
    if (op == u"!dup")
        return TextValidityOperator::NoRepeat;
    if (op == u"dup")
        return TextValidityOperator::AllAlike;
    if (op.startsWith(u'+') || op.startsWith(u'-'))
        return TextValidityOperator::Step;
    if (op.contains(QStringLiteral("@eval"), Qt::CaseInsensitive))
        return TextValidityOperator::Arithmetic;
    if (op.contains(QStringLiteral("@now"), Qt::CaseInsensitive))
        return TextValidityOperator::Date;
    return TextValidityOperator::Forbid;
}

QString TextValidityOperatorProblem(const QString& operatorText)
{
    const QString& op = operatorText;
    const QString known = QStringLiteral("=, <, >, =>, =<, !=");
    if (isCountOperator(op) || op == u"dup" || op == u"!dup")
        return {};
    if (op.startsWith(u'+') || op.startsWith(u'-')) {
        const QStringView digits = QStringView(op).sliced(1);
        const bool whole = !digits.isEmpty() && std::all_of(digits.begin(), digits.end(), isAsciiDigit);
        return whole ? QString() : QStringLiteral("operator \"%1\" is no whole-number step").arg(op);
    }
    if (op.contains(QStringLiteral("@eval"), Qt::CaseInsensitive)) {
        if (comparisonIn(op).isEmpty())
            return QStringLiteral("operator \"%1\" holds none of the comparisons %2").arg(op, known);
        return {};
    }
    if (op.contains(QStringLiteral("@now"), Qt::CaseInsensitive)) {
        if (!isCountOperator(QString(op).remove(QStringLiteral("@now"), Qt::CaseInsensitive).trimmed()))
            return QStringLiteral("operator \"%1\" holds none of the comparisons %2").arg(op, known);
        return {};
    }
    // Any other word forbids the pattern; one that looks like a comparison or
    // a misspelt "dup" was meant as something else.
    const bool comparisonLike
        = op.contains(u'<') || op.contains(u'>') || op.contains(u'=') || op.contains(u'!');
    if (comparisonLike || op.compare(u"dup", Qt::CaseInsensitive) == 0
        || op.compare(u"!dup", Qt::CaseInsensitive) == 0)
        return QStringLiteral(
            "operator \"%1\" is none the rule knows (%2, dup, !dup); the row forbids its pattern")
            .arg(op, known);
    return {};
}

// --- Content preparation ------------------------------------------------------

qsizetype PlacedContent::originOf(qsizetype at) const
{
    if (origin.empty())
        return at;
    // Past the end: one after the last character's place.
    if (at >= text.size())
        return originOf(text.size() - 1) + 1;
    const auto after = std::upper_bound(
        origin.begin(), origin.end(), at, [](qsizetype a, const Stretch& stretch) { return a < stretch.at; });
    const Stretch& stretch = *std::prev(after);
    return stretch.from + (at - stretch.at);
}

namespace {

// Builds a new placed text from pieces of an old one, keeping the origins.
class PlacedBuilder {
public:
    explicit PlacedBuilder(const PlacedContent& from)
        : from_(from)
    {
        ReserveLarge(out_.text, from.text.size());
    }
    void keep(qsizetype start, qsizetype end)
    {
        if (start >= end)
            return;
        const std::vector<PlacedContent::Stretch>& stretches = from_.origin;
        if (stretches.empty()) {
            stretch(start);
        } else {
            // The old stretches the piece overlaps, each carried over from
            // where the piece meets it.
            auto k = std::prev(std::upper_bound(stretches.begin(), stretches.end(), start,
                [](qsizetype a, const PlacedContent::Stretch& s) { return a < s.at; }));
            for (qsizetype at = start; at < end; ++k) {
                stretch(k->from + (at - k->at), at - start);
                at = std::next(k) == stretches.end() ? end : std::min<qsizetype>(end, std::next(k)->at);
            }
        }
        out_.text += QStringView(from_.text).sliced(start, end - start);
    }
    void put(QChar c, qsizetype standsFor)
    {
        stretch(from_.originOf(standsFor));
        out_.text += c;
    }
    PlacedContent take() { return std::move(out_); }

private:
    // A stretch from `from` on, starting `ahead` characters past the text
    // made so far.
    void stretch(qsizetype from, qsizetype ahead = 0)
    {
        out_.origin.push_back({ std::int32_t(out_.text.size() + ahead), std::int32_t(from) });
    }

    const PlacedContent& from_;
    PlacedContent out_;
};

// Where the element that the start tag at lt opens ends within the text, as
// GetPCDATA pairs start and end tags; nothing when it does not end there.
// An element that the indexed text closes only beyond the content does not
// end in the content: no end tag inside it would have closed it either.
std::optional<qsizetype> elementEnd(
    const TagPairs& pairs, qsizetype textSize, qsizetype lt, qsizetype tagLength, QStringView name)
{
    const std::optional<QStringView> inner = pairs.index->elementContent(pairs.base + lt, tagLength, name);
    if (!inner)
        return std::nullopt;
    const qsizetype end = (inner->data() - pairs.indexedText.data()) - pairs.base + inner->size()
        + name.size() + 3; // past "</name>"
    return end <= textSize ? std::optional(end) : std::nullopt;
}

// Calls `use(pairs)` with the given pairs, or with an index of the text made here.
template <class Use> auto withPairs(const QString& text, std::optional<TagPairs> pairs, Use&& use)
{
    if (pairs)
        return use(*pairs);
    const ElementIndex index(text);
    return use(TagPairs { &index, text, 0 });
}

// Walks the tags of a text left to right; `visit(lt, tag)` answers where the
// walk goes on, or nothing to go on just after the tag.
template <class Visit> void forEachTag(const QString& text, Visit&& visit)
{
    qsizetype from = 0;
    while (const auto candidate = TagSearch::FindCandidate(text, from, [](qsizetype, qsizetype) {})) {
        const QStringView tag = QStringView(text).sliced(candidate->lt, candidate->gt - candidate->lt + 1);
        from = visit(candidate->lt, tag).value_or(candidate->gt + 1);
    }
}

PlacedContent splitOnTags(const PlacedContent& content, const TagScanner& xml, const TagPairs& index)
{
    const QString& text = content.text;
    PlacedBuilder out(content);
    qsizetype copied = 0;
    forEachTag(text, [&](qsizetype lt, QStringView tag) -> std::optional<qsizetype> {
        std::optional<qsizetype> end;
        if (xml.GetTagType(tag) == TagKind::Start) {
            // The name is read in place: an element holds many tags, and a
            // string per tag was a good part of the split.
            if (const QStringView name = TagSearch::TagNameViewOf(tag); !name.isEmpty())
                end = elementEnd(index, text.size(), lt, tag.size(), name);
        }
        out.keep(copied, lt);
        out.put(u'|', lt);
        copied = end.value_or(lt + tag.size());
        return copied;
    });
    out.keep(copied, text.size());
    return out.take();
}

PlacedContent cutElements(
    const PlacedContent& content, const QString& name, const TagScanner& xml, const TagPairs& index)
{
    const QString& text = content.text;
    PlacedBuilder out(content);
    qsizetype copied = 0;
    forEachTag(text, [&](qsizetype lt, QStringView tag) -> std::optional<qsizetype> {
        if (xml.GetTagType(tag) != TagKind::Start || TagSearch::TagNameViewOf(tag) != name)
            return std::nullopt;
        const std::optional<qsizetype> end = elementEnd(index, text.size(), lt, tag.size(), name);
        if (!end)
            return std::nullopt;
        out.keep(copied, lt);
        copied = *end;
        return copied;
    });
    out.keep(copied, text.size());
    return out.take();
}

} // namespace

PlacedContent SplitOnTags(PlacedContent content, const TagScanner& xml, std::optional<TagPairs> pairs)
{
    const QString& text = content.text;
    if (!text.contains(u'<'))
        return content;
    return withPairs(text, pairs, [&](const TagPairs& index) { return splitOnTags(content, xml, index); });
}

namespace {

// Whether "<" + name occurs in the text. A split content has mostly no "<"
// left at all, so the one-character search decides most elements at once.
bool holdsOpener(QStringView text, QStringView name)
{
    for (qsizetype lt = text.indexOf(u'<'); lt >= 0; lt = text.indexOf(u'<', lt + 1)) {
        if (text.sliced(lt + 1).startsWith(name))
            return true;
    }
    return false;
}

} // namespace

PlacedContent CutElements(
    PlacedContent content, const QString& name, const TagScanner& xml, std::optional<TagPairs> pairs)
{
    const QString& text = content.text;
    if (name.isEmpty() || !holdsOpener(text, name))
        return content;
    return withPairs(
        text, pairs, [&](const TagPairs& index) { return cutElements(content, name, xml, index); });
}

// --- Operators on the values ----------------------------------------------------

namespace {

// "!dup": the first value seen before, letter case aside.
std::optional<qsizetype> repeatedValue(const QStringList& values)
{
    QSet<QString> seen;
    for (qsizetype i = 0; i < values.size(); ++i) {
        if (values[i].isEmpty())
            continue;
        const QString key = values[i].toCaseFolded();
        if (seen.contains(key))
            return i;
        seen.insert(key);
    }
    return std::nullopt;
}

// "dup": the first value unlike the first one, letter case and outer blanks aside.
std::optional<qsizetype> unlikeValue(const QStringList& values)
{
    if (values.isEmpty())
        return std::nullopt;
    const QString reference = values.front().toUpper().trimmed();
    for (qsizetype i = 1; i < values.size(); ++i) {
        const QString value = values[i].toUpper().trimmed();
        if (!value.isEmpty() && value != reference)
            return i;
    }
    return std::nullopt;
}

// A signed step: the first value out of sequence. The first value of the
// element starts the sequence and becomes the row's number for the run.
std::optional<qsizetype> outOfSequence(
    RuleContext& context, const TextValidityRow& row, const QStringList& values)
{
    const std::int32_t step = LeadingNumber(row.operatorText);
    std::optional<std::int32_t> previous;
    for (qsizetype i = 0; i < values.size(); ++i) {
        if (values[i].isEmpty())
            continue;
        const std::int32_t value = LeadingNumber(values[i]);
        if (!previous) {
            auto& carried = context.ownRunState<TextValidityRunState>();
            const std::int32_t number = carried.numberOf(row);
            if (number == 0 || number != value)
                carried.write(row, value);
        } else if (std::int64_t(value) != std::int64_t(*previous) + step) {
            return i;
        }
        previous = value;
    }
    return std::nullopt;
}

std::optional<QDate> readDate(const QString& text)
{
    const QString trimmed = text.trimmed();
    for (const char* format : { "M/d/yyyy", "M-d-yyyy", "yyyy-M-d", "yyyy/M/d", "MMMM d, yyyy", "MMM d, yyyy",
             "d MMMM yyyy", "d MMM yyyy", "MMMM d yyyy", "MMM d yyyy" }) {
        const QDate date = QLocale::c().toDate(trimmed, QLatin1String(format));
        if (date.isValid())
            return date;
    }
    return std::nullopt;
}

// "@now": the values, joined, read as a date and compared with today. An
// element without a value, or whose value is no date, has nothing to compare
// and passes; an operator left without one of the six comparisons fails.
bool dateHolds(const RuleContext& context, const TextValidityRow& row, const QString& captureList)
{
    const QString joined = QString(captureList).remove(kValueSeparator);
    if (joined.trimmed().isEmpty())
        return true;
    const std::optional<QDate> date = readDate(joined);
    if (!date)
        return true;
    const QString comparison
        = QString(row.operatorText).remove(QStringLiteral("@now"), Qt::CaseInsensitive).trimmed();
    const QDate today = context.now().date();
    return CompareBy(comparison, double(date->toJulianDay()), double(today.toJulianDay())).value_or(false);
}

// --- Findings ---------------------------------------------------------------------

void reportAtTag(const RuleContext& context, const TextValidityRow& row, std::int32_t column)
{
    context.findings.report(row.severity, context.tag.lineNumber, row.message, context.dataFrom(0), column);
}

// A finding at the value's whole match: its first occurrence in the prepared
// content, letter case aside, placed at that character's line and column in
// the file.
void reportAtValue(
    const RuleContext& context, const TextValidityRow& row, const PlacedContent& placed, const QString& match)
{
    const qsizetype found = std::max<qsizetype>(placed.text.indexOf(match, 0, Qt::CaseInsensitive), 0);
    const ValidationContext& tag = context.tag;
    const qsizetype offset = qsizetype(tag.filePosition) - 1 + tag.tagText.size() + placed.originOf(found);
    const auto& starts = context.lineStarts;
    const auto after = std::upper_bound(starts.begin(), starts.end(), offset);
    std::int32_t line = tag.lineNumber;
    std::int32_t column = tag.linePosition;
    if (after != starts.begin()) {
        line = std::int32_t(after - starts.begin());
        column = std::int32_t(offset - *(after - 1) + 1);
    }
    context.findings.report(row.severity, line, row.message, match, column);
}

void reportValue(const RuleContext& context, const TextValidityRow& row, const PlacedContent& placed,
    const PatternSearchResult& found, std::optional<qsizetype> index)
{
    if (!index)
        return;
    const QStringList matches = SplitValueList(found.matchList);
    reportAtValue(context, row, placed, *index < matches.size() ? matches[*index] : QString());
}

} // namespace

const PlacedContent& ElementContent::preparedFor(const TextValidityRow& row, const TagScanner& xml)
{
    if (!row.splitOnTags && row.excluded.isEmpty())
        return asIs_;
    const QString& key = row.preparationKey;
    for (const auto& [preparedKey, known] : prepared_) {
        if (preparedKey == key)
            return known;
    }
    PlacedContent placed { raw_, {} };
    // The file's pairs serve as long as no step has changed the content.
    const auto pairsNow = [&] { return placed.origin.empty() ? filePairs_ : std::nullopt; };
    // The pairs are asked for before the content is handed over.
    if (row.splitOnTags) {
        const std::optional<TagPairs> pairs = pairsNow();
        placed = SplitOnTags(std::move(placed), xml, pairs);
    }
    for (const QString& name : row.excluded) {
        const std::optional<TagPairs> pairs = pairsNow();
        placed = CutElements(std::move(placed), name, xml, pairs);
    }
    return prepared_.emplace_front(key, std::move(placed)).second;
}

void ApplyTextValidityRow(RuleContext& context, const TextValidityRow& row, ElementContent& content)
{
    for (const QString& name : row.excluded) {
        if (context.isOpen(name))
            return;
    }
    const PlacedContent& placed = content.preparedFor(row, TagScanner(context.toolkit));

    // Counts and the forbidden pattern need no value lists, and "@eval" searches for itself.
    const RegExp& values = row.valueExpression;
    const auto found = [&] { return SearchPattern(values, placed.text); };
    switch (row.operatorKind) {
    case TextValidityOperator::Count:
        if (!CompareBy(row.operatorText, double(values.countMatches(placed.text)), row.number).value())
            reportAtTag(context, row, context.tag.linePosition);
        break;
    case TextValidityOperator::NoRepeat: {
        const PatternSearchResult result = found();
        reportValue(context, row, placed, result, repeatedValue(SplitValueList(result.captureList)));
        break;
    }
    case TextValidityOperator::AllAlike: {
        const PatternSearchResult result = found();
        reportValue(context, row, placed, result, unlikeValue(SplitValueList(result.captureList)));
        break;
    }
    case TextValidityOperator::Step: {
        const PatternSearchResult result = found();
        reportValue(
            context, row, placed, result, outOfSequence(context, row, SplitValueList(result.captureList)));
        break;
    }
    case TextValidityOperator::Arithmetic:
        // Always column 1, wherever the element stands.
        if (!evaluateArithmetic(QStringView(row.operatorText).sliced(row.arithmeticExpressionStart),
                row.arithmeticComparison, row.number, values, placed.text))
            reportAtTag(context, row, 1);
        break;
    case TextValidityOperator::Date:
        if (!dateHolds(context, row, found().captureList))
            reportAtTag(context, row, context.tag.linePosition);
        break;
    case TextValidityOperator::Forbid:
        if (values.test(placed.text))
            reportAtTag(context, row, context.tag.linePosition);
        break;
    }
}

namespace {

enum : std::int8_t { kNotAsked = -1, kAbsent = 0, kPresent = 1, kFailed = 2 };

// What the check keeps for one file.
struct TextValidityFileState : RuleFileState {
    // Whether each row's whole-file condition occurs in the text, found once
    // per row. The rows are those of conditionTable, the file's active table.
    const void* conditionTable = nullptr;
    std::vector<std::int8_t> conditionHolds;
    // The failures already told, so that a failing row is told once.
    QSet<QString> notedFailures;
    // The rows of each tag name met, null for a name no row names: asked
    // for every start tag of the file.
    NameMemo<const QList<int>*> rowsOfName;
};

// Whether the row's condition occurs in the whole file: the same for every
// element of a file, so it is searched once per row and file. A search that
// failed fails again without searching.
bool conditionHolds(const RuleContext& context, const TextValidityTable& table, int index)
{
    const TextValidityRow& row = table.rows[index];
    if (row.condition.isEmpty())
        return true;
    auto& cache = context.ownState<TextValidityFileState>();
    if (cache.conditionTable != &table) {
        cache.conditionTable = &table;
        cache.conditionHolds.assign(table.rows.size(), kNotAsked);
    }
    std::int8_t& answer = cache.conditionHolds[index];
    if (answer == kFailed)
        throw PatternError("Regular expression \"" + row.condition.toStdString() + "\" failed before");
    if (answer == kNotAsked) {
        answer = kFailed; // stays so when the search throws
        answer = row.conditionExpression.test(context.document) ? kPresent : kAbsent;
    }
    return answer == kPresent;
}

// The file's element index for the current element's content, when the
// content is read from the file at the tag's place.
std::optional<TagPairs> filePairs(const RuleContext& context)
{
    const ValidationContext& tag = context.tag;
    const qsizetype tagStart = qsizetype(tag.filePosition) - 1;
    if (tagStart < 0 || tagStart >= context.document.size()
        || !QStringView(context.document).sliced(tagStart).startsWith(tag.tagText))
        return std::nullopt;
    const ElementIndex* index = context.toolkit.indexFor(context.document);
    if (!index)
        return std::nullopt;
    return TagPairs { index, index->text(), tagStart + tag.tagText.size() };
}

bool isPlainName(const QString& name)
{
    // One look at each character: names are short, and asked for every element.
    return !name.isEmpty() && std::none_of(name.begin(), name.end(), [](QChar c) {
        return c == u' ' || c == u'<' || c == u'>';
    });
}

// The content of the current start tag's element up to its end tag. Where
// the file's index pairs the element's tags, the content is a view into the
// document, which outlives the check of the element: most elements are
// checked without copying what they hold.
QString currentContent(const RuleContext& context, const std::optional<TagPairs>& pairs)
{
    const ValidationContext& tag = context.tag;
    if (pairs && isPlainName(tag.tagName)) {
        const qsizetype length = tag.tagText.size();
        const std::optional<QStringView> inner
            = pairs->index->elementContent(pairs->base - length, length, tag.tagName);
        return inner ? QString::fromRawData(inner->data(), inner->size()) : QString();
    }
    std::int32_t position = tag.filePosition;
    return TagScanner(context.toolkit)
        .GetPCDATA(context.document, tag.tagText, QStringLiteral("</") + tag.tagName + u'>', position);
}

// A failing row ends the check of the element. The failure is told once per
// file and reason, however many elements meet it.
void noteFailure(const RuleContext& context, const std::exception& failure)
{
    QSet<QString>& noted = context.ownState<TextValidityFileState>().notedFailures;
    if (noted.contains(QString::fromUtf8(failure.what())))
        return;
    noted.insert(QString::fromUtf8(failure.what()));
    context.findings.checkEnded(failure);
}

} // namespace

std::unique_ptr<RuleFileState> MakeTextValidityFileState()
{
    return MakeFileState<TextValidityFileState>();
}

void TextValidityRunState::takeLater(const RuleRunState& later)
{
    const auto& share = static_cast<const TextValidityRunState&>(later);
    for (auto step = share.stepNumbers_.cbegin(); step != share.stepNumbers_.cend(); ++step) {
        if (step.value() != kUnwritten)
            stepNumbers_.insert(step.key(), step.value());
    }
}

std::unique_ptr<RuleRunState> MakeTextValidityRunState()
{
    return MakeRunState<TextValidityRunState>();
}

void TEXTVALIDITY(RuleContext& context)
{
    const auto* table = context.settings.loaded<TextValidityTable>(SupportFile::TextValidityTbl);
    const ValidationContext& tag = context.tag;
    if (!table || table->index.isEmpty() || tag.tagType != TagKind::Start)
        return;
    // The rows are found by their exact tag: every name they hold is in the
    // case-blind index as well, so asking the index first would only hash
    // the name twice.
    const auto rowsOf = [&](const QString& name) -> const QList<int>* {
        const auto found = table->rowsByTag.constFind(name);
        return found == table->rowsByTag.constEnd() ? nullptr : &*found;
    };
    const QList<int>* rows = context.fileState
        ? context.ownState<TextValidityFileState>().rowsOfName.answer(table, tag.tagName, rowsOf)
        : rowsOf(tag.tagName);
    if (!rows)
        return;
    // A failing row (a pattern the engine rejects or gives up on) ends the
    // check of this element; what was written stays.
    try {
        std::optional<ElementContent> content;
        for (const int index : *rows) {
            if (!conditionHolds(context, *table, index))
                continue;
            if (!content) {
                const std::optional<TagPairs> pairs = filePairs(context);
                content.emplace(currentContent(context, pairs), pairs);
            }
            ApplyTextValidityRow(context, table->rows[index], *content);
        }
    } catch (const RunAborted&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        noteFailure(context, failure);
    }
}
