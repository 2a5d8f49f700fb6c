#include "rules/Pairs.h"

#include "config/ConfigurationLoading.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"

#include <algorithm>

namespace {

struct Token {
    int pair = -1;
    bool closing = false;
    qsizetype length = 0;
};

// The scan of one text: a stack of open pairs, with how many of each kind it
// holds, so that a closing string with no opening of its kind is told at once.
// Counting openings and closings would tell that an element is unbalanced
// but not where, nor catch ") ("; and a position left by one element's count
// must never reach the next element's, or the next file's, check.
class PairScanner {
public:
    PairScanner(QStringView text, const QList<PairStrings>& pairs)
        : text_(text)
        , pairs_(pairs)
        , open_(pairs.size(), 0)
    {
    }

    PairScan run()
    {
        for (qsizetype at = 0; at < text_.size();) {
            const qsizetype tagEnd = text_[at] == u'<' ? TagEnd(text_, at) : -1;
            const Token token = tokenAt(at, tagEnd >= 0);
            if (token.pair >= 0) {
                handle(token, at);
                at += token.length;
            } else {
                at = tagEnd >= 0 ? tagEnd : at + 1;
            }
        }
        for (const Open& left : stack_)
            result_.unbalanced.append({ left.pair, left.offset, true });
        std::stable_sort(result_.unbalanced.begin(), result_.unbalanced.end(),
            [](const auto& a, const auto& b) { return a.offset < b.offset; });
        return std::move(result_);
    }

private:
    struct Open {
        int pair;
        qsizetype offset;
    };

    Token tokenAt(qsizetype at, bool inTag) const
    {
        const QStringView rest = text_.sliced(at);
        for (int i = 0; i < pairs_.size(); ++i) {
            const PairStrings& pair = pairs_[i];
            if (pair.isMarkup() != inTag)
                continue;
            const bool closes = !pair.closing.isEmpty() && rest.startsWith(pair.closing);
            const bool opens = !pair.opening.isEmpty() && rest.startsWith(pair.opening);
            if (closes && (!opens || (!stack_.isEmpty() && stack_.last().pair == i)))
                return { i, true, pair.closing.size() };
            if (opens)
                return { i, false, pair.opening.size() };
        }
        return {};
    }

    void handle(const Token& token, qsizetype at)
    {
        if (!token.closing) {
            stack_.append({ token.pair, at });
            ++open_[token.pair];
            return;
        }
        if (open_[token.pair] == 0) {
            result_.unbalanced.append({ token.pair, at, false });
            return;
        }
        // Pairs of other kinds opened inside this one were never closed.
        while (stack_.last().pair != token.pair)
            pop(true);
        const Open opened = stack_.last();
        pop(false);
        if (open_[token.pair] == 0)
            result_.outermost.append({ token.pair, opened.offset, at });
    }

    void pop(bool unclosed)
    {
        const Open left = stack_.takeLast();
        --open_[left.pair];
        if (unclosed)
            result_.unbalanced.append({ left.pair, left.offset, true });
    }

    QStringView text_;
    const QList<PairStrings>& pairs_;
    QList<int> open_;
    QList<Open> stack_;
    PairScan result_;
};

// What the pair routines remember of one file.
struct PairFileState : RuleFileState {
    TagSweep balance;
    TagSweep content;
};

} // namespace

std::unique_ptr<RuleFileState> MakePairFileState()
{
    return MakeFileState<PairFileState>();
}

namespace {

QString shown(const QString& text)
{
    QString visible = text;
    visible.replace(QLatin1String("\r\n"), QLatin1String("<hrt>"));
    return u'"' + visible + u'"';
}

// The rows of a table that apply to the current start tag, with the content
// of its element: nothing when none applies, the element is never closed or
// its text was read with an enclosing element of the same name.
template <class Row>
std::optional<ElementText> contentFor(
    const RuleContext& rule, const QList<Row>& rows, TagSweep& sweep, QList<int>& applying)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType != TagKind::Start || !sweep.firstVisit(context.filePosition - 1))
        return std::nullopt;
    for (int i = 0; i < rows.size(); ++i) {
        if (rows[i].tag.matches(context.tagName, context.tagText))
            applying.append(i);
    }
    if (applying.isEmpty())
        return std::nullopt;
    const std::optional<ElementText> element = CurrentElementContentView(rule);
    if (!element || sweep.alreadyRead(context.tagName, element->offset))
        return std::nullopt;
    sweep.markRead(context.tagName, element->offset + element->content.size());
    return element;
}

template <class Row> QList<PairStrings> pairsOf(const QList<Row>& rows, const QList<int>& applying)
{
    QList<PairStrings> pairs;
    for (const int i : applying)
        pairs.append(rows[i].pair);
    return pairs;
}

// Reads the opening and closing columns; a row without both checks nothing.
std::optional<PairStrings> pairOf(const QStringList& f, const LineLint& lint)
{
    if (f[0].isEmpty() || f[1].isEmpty() || f[2].isEmpty()) {
        lint(QStringLiteral("row dropped: the tag, opening or closing column is empty"));
        return std::nullopt;
    }
    return PairStrings { TableReading::Unescape(f[1]), TableReading::Unescape(f[2]) };
}

} // namespace

PairScan ScanPairs(QStringView text, const QList<PairStrings>& pairs)
{
    return PairScanner(text, pairs).run();
}

bool LoadPairTable(const ConfigurationLoading& loading, TableSet& set)
{
    return LoadRowTable<PairTable>(loading, set, SupportFile::CheckPairTbl, 5,
        [&](const QStringList& f, const LineLint& lint) -> std::optional<PairRow> {
            const std::optional<PairStrings> pair = pairOf(f, lint);
            if (!pair)
                return std::nullopt;
            LintSeverity(f[3], lint);
            return PairRow { TagSelector::parse(f[0]), *pair, IsErrorSeverity(f[3]), f[4] };
        });
}

bool LoadPairContentTable(const ConfigurationLoading& loading, TableSet& set)
{
    return LoadRowTable<PairContentTable>(loading, set, SupportFile::CheckPairContTbl, 6,
        [&](const QStringList& f, const LineLint& lint) -> std::optional<PairContentRow> {
            const std::optional<PairStrings> pair = pairOf(f, lint);
            if (!pair)
                return std::nullopt;
            if (f[3].isEmpty()) {
                lint(QStringLiteral("row dropped: no pattern"));
                return std::nullopt;
            }
            LintRegExp(loading, ExpandPatternPlaceholders(f[3]), lint);
            LintSeverity(f[4], lint);
            return PairContentRow { TagSelector::parse(f[0]), *pair,
                RegExp(ExpandPatternPlaceholders(f[3]), false, true), IsErrorSeverity(f[4]), f[5] };
        });
}

void CHECKPAIRVALIDITY(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<PairTable>(SupportFile::CheckPairTbl);
    if (!table)
        return;
    QList<int> applying;
    const std::optional<ElementText> element
        = contentFor(rule, table->rows, rule.ownState<PairFileState>().balance, applying);
    if (!element)
        return;
    const PairScan scan = ScanPairs(element->content, pairsOf(table->rows, applying));
    for (const PairScan::Unbalanced& found : scan.unbalanced) {
        const PairRow& row = table->rows[applying[found.pair]];
        const QString detail = found.opening
            ? QStringLiteral("%1 never closed").arg(shown(row.pair.opening))
            : QStringLiteral("%1 without %2").arg(shown(row.pair.closing), shown(row.pair.opening));
        ReportPlaced(
            rule, { element->offset + found.offset, row.error, row.message + QStringLiteral(": ") + detail });
    }
}

void CHECKPAIRCONTVALIDITY(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<PairContentTable>(SupportFile::CheckPairContTbl);
    if (!table)
        return;
    QList<int> applying;
    const std::optional<ElementText> element
        = contentFor(rule, table->rows, rule.ownState<PairFileState>().content, applying);
    if (!element)
        return;
    const PairScan scan = ScanPairs(element->content, pairsOf(table->rows, applying));
    try {
        for (const PairScan::Span& span : scan.outermost) {
            const PairContentRow& row = table->rows[applying[span.pair]];
            const qsizetype start = span.opening + row.pair.opening.size();
            const QString between = TextWithoutTags(element->content.sliced(start, span.closing - start));
            if (row.pattern.test(between))
                continue;
            QString quoted = between.size() > 60 ? between.left(60) + QStringLiteral("...") : between;
            ReportPlaced(rule,
                { element->offset + span.opening, row.error,
                    row.message + QStringLiteral(": ") + shown(quoted) });
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const PatternError& failure) {
        rule.findings.checkEnded(failure);
    }
}
