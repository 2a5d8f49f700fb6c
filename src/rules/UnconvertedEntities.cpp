#include "rules/UnconvertedEntities.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "core/ElementIndex.h"
#include "core/HugePages.h"
#include "core/UnitSearch.h"
#include "engine/RuleContext.h"
#include "rules/ElementContents.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// Longer messages do not fit the report's message column.
constexpr qsizetype kLongestMessage = 60;

struct WrittenRow {
    QString searchString;
    QString message; // as written, prefix included
};

// Nothing for a heading, a blank line or a line without a blank.
std::optional<WrittenRow> parseLine(const QString& line)
{
    const QString trimmed = line.trimmed();
    const qsizetype blank = trimmed.indexOf(u' ');
    if (blank < 0 || trimmed.contains("Search string"_L1, Qt::CaseInsensitive))
        return std::nullopt;
    QString search = trimmed.left(blank).trimmed();
    search.replace("<space>"_L1, " "_L1, Qt::CaseInsensitive);
    search.replace("<hrt>"_L1, "\r\n"_L1, Qt::CaseInsensitive);
    return WrittenRow { search, trimmed.sliced(blank).trimmed() };
}

UnconEntityRow typedRow(const WrittenRow& written)
{
    const QString prefix = written.message.left(3).toUpper();
    std::optional<Severity> severity;
    if (prefix == u"E /")
        severity = Severity::Error;
    else if (prefix == u"W /")
        severity = Severity::Warning;
    return { written.searchString, severity, written.message.mid(3).trimmed() };
}

} // namespace

bool LoadUnconEntitiesTable(const ConfigurationLoading& loading, TableSet& set)
{
    const QString& path = set.file(SupportFile::UnConEntitiesTbl);
    QStringList lines;
    if (!TableReading::ReadLines(loading, path, lines))
        return false;
    auto table = std::make_shared<UnconEntitiesTable>();
    QList<QString> needles;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString& line = lines[i];
        const std::optional<WrittenRow> row = parseLine(line);
        if (!row) {
            if (!line.trimmed().isEmpty() && !line.contains("Search string"_L1, Qt::CaseInsensitive))
                TableReading::Lint(
                    loading, path, i, "row dropped: no blank between search string and message"_L1);
            continue;
        }
        if (row->message.size() > kLongestMessage && TableReading::Linting(loading)) {
            TableReading::Lint(loading, path, i,
                u"message of %1 characters; the longest the report shows whole is 60"_s.arg(
                    row->message.size()));
        } else if (row->message.size() > kLongestMessage) {
            loading.ui.messageBox(
                "Please check "_L1 + path + "\r\nLength of Error Message should not be greater than 60."_L1,
                kProgramTitle, MessageIcon::Critical);
        }
        table->rows.append(typedRow(*row));
        needles.append(row->searchString);
    }
    table->search = std::make_shared<MultiStringSearch>(needles);
    set.table(SupportFile::UnConEntitiesTbl) = std::move(table);
    return true;
}

namespace {

// The first element from `from` on for which the test holds, the test being
// false up to some point and true after it: steps of growing length, then a
// search in the last step, so the cost grows with the distance walked, not
// with the length of the list.
template <typename It, typename Test> It FirstWhere(It from, It last, Test holds)
{
    const auto fails = [&](const auto& element) { return !holds(element); };
    for (qsizetype step = 1;; step *= 2) {
        if (last - from <= step)
            return std::partition_point(from, last, fails);
        const It probe = from + step;
        if (holds(*probe))
            return std::partition_point(from, probe, fails);
        from = probe;
    }
}

// A stretch of the plain text that was one unbroken stretch of the file.
// Offsets fit in 32 bits, as every position of a run does; a large file has
// a run per tag, so the width counts.
struct KeptRun {
    std::int32_t fileStart;
    std::int32_t plainStart;
};

// A removed tag that swallowed other brackets: a stray "<" joined with a later
// ">" once the tags between them were gone.
struct JoinedSpan {
    qsizetype open;
    qsizetype close;
};

// A text with its tags removed exactly as the toolkit removes them, kept as
// the stretches of the text that remain (the plain text is never copied out:
// for a large file it would double the memory a run needs).
//
// The toolkit's removal (delete a tag, then look again from the start) ends
// in the same text as one pass from left to right that keeps the "<" not yet
// closed on a stack: a ">" closes the newest one; the stretch is a tag unless
// what is left between them is empty or begins with a blank, and then it goes
// with everything left inside it; otherwise both brackets stay and every older
// "<" is blocked for good. In that pass the tags removed inside an element's
// content are exactly the tags of the whole text that lie inside it, unless a
// joined tag crosses one of the content's two ends. So every element that no
// joined tag crosses is answered from the whole text's removal, and only the
// others are read on their own.
//
// The pass is also quicker than the toolkit's general removal, which keeps
// the quoted-markup note besides; that note is not read for this rule.
struct TagRemoval {
    QStringView text;
    qsizetype plainSize = 0;
    std::vector<KeptRun> runs; // by plainStart (and fileStart) ascending
    std::vector<JoinedSpan> outermostJoins; // disjoint, ascending

    bool joinCrosses(qsizetype boundary) const
    {
        const auto after = std::upper_bound(outermostJoins.begin(), outermostJoins.end(), boundary,
            [](qsizetype b, const JoinedSpan& span) { return b <= span.open; });
        return after != outermostJoins.begin() && boundary <= std::prev(after)->close;
    }

    bool readsAsInTheWholeText(const ContentRange& content) const
    {
        return !joinCrosses(content.start) && !joinCrosses(content.end);
    }

    qsizetype fileOffsetOf(qsizetype plainIndex) const
    {
        const auto run = std::prev(std::upper_bound(runs.begin(), runs.end(), plainIndex,
            [](qsizetype p, const KeptRun& r) { return p < r.plainStart; }));
        return run->fileStart + (plainIndex - run->plainStart);
    }

    // The plain index of the first kept character at or after a file offset.
    // `hint` is the answer's run position from an earlier call for an offset
    // no greater; it is moved on, so that offsets asked in ascending order
    // cost a short walk each instead of a search of every run.
    qsizetype plainIndexAtOrAfter(qsizetype file, std::size_t& hint) const
    {
        const auto next = FirstWhere(runs.begin() + qsizetype(hint), runs.end(),
            [file](const KeptRun& r) { return r.fileStart > file; });
        hint = std::size_t(next - runs.begin());
        if (next == runs.begin())
            return 0;
        const KeptRun& run = *std::prev(next);
        const qsizetype runEnd = next == runs.end() ? plainSize : next->plainStart;
        return std::min(run.plainStart + (file - run.fileStart), runEnd);
    }

    // Calls piece(view) with every kept stretch in order, while it answers true.
    template <class Piece> void forEachPiece(Piece&& piece) const
    {
        for (std::size_t r = 0; r < runs.size(); ++r) {
            const qsizetype end = r + 1 < runs.size() ? runs[r + 1].plainStart : plainSize;
            if (!piece(text.sliced(runs[r].fileStart, end - runs[r].plainStart)))
                return;
        }
    }

    void keep(qsizetype from, qsizetype to)
    {
        if (to <= from)
            return;
        const bool continues
            = !runs.empty() && runs.back().fileStart + (plainSize - runs.back().plainStart) == from;
        if (!continues)
            runs.push_back({ std::int32_t(from), std::int32_t(plainSize) });
        plainSize += to - from;
    }

    void cutBackTo(qsizetype size)
    {
        while (!runs.empty() && runs.back().plainStart >= size)
            runs.pop_back();
        plainSize = size;
    }

    // `openers`, when known, is how many "<" the text holds: a run begins
    // only at the start and after a removed tag, so the runs are at most
    // one more than either bracket, and the text need not be counted again.
    void removeTags(QStringView whole, std::optional<std::size_t> openers = std::nullopt)
    {
        struct Open {
            qsizetype at;
            qsizetype plainAt;
        };
        text = whole;
        std::vector<Open> opens;
        ReserveLarge(runs, (openers ? *openers : std::size_t(text.count(u'>'))) + 1);
        qsizetype from = 0;
        // Both brackets are found in one read of the text.
        for (qsizetype at = IndexOfEither(text, 0, u'<', u'>'); at >= 0;
             at = IndexOfEither(text, at + 1, u'<', u'>')) {
            const QChar c = text[at];
            keep(from, at);
            from = at;
            if (c == u'<') {
                opens.push_back({ at, plainSize });
                continue;
            }
            if (opens.empty())
                continue;
            const Open open = opens.back();
            const qsizetype inside = plainSize - open.plainAt - 1;
            // The character after the "<" is still where it stood unless a
            // removed tag began right there: only then is it looked up.
            const auto firstInside = [&] {
                return text[open.at + 1] != u'<' ? text[open.at + 1] : text[fileOffsetOf(open.plainAt + 1)];
            };
            if (inside == 0 || firstInside() == u' ') {
                opens.clear();
                continue;
            }
            opens.pop_back();
            cutBackTo(open.plainAt);
            from = at + 1;
            if (inside < at - open.at - 1) {
                while (!outermostJoins.empty() && outermostJoins.back().open > open.at)
                    outermostJoins.pop_back();
                outermostJoins.push_back({ open.at, at });
            }
        }
        keep(from, text.size());
    }
};

// The whole text's removal, searched once for every row.
struct EntityIndex {
    const UnconEntitiesTable* table = nullptr;
    TagRemoval removal;
    std::vector<std::vector<qsizetype>> occurrences; // per row, plain starts ascending
    // Where the last element's answers were found. Start tags come in file
    // order, so every later element starts its searches from there.
    std::size_t startRun = 0;
    std::vector<std::size_t> rowCursors;
};

struct EntityIndexState : RuleFileState {
    std::unique_ptr<EntityIndex> index;
};

EntityIndex& entityIndexOf(RuleContext& rule, const UnconEntitiesTable& table)
{
    std::unique_ptr<EntityIndex>& slot = rule.ownState<EntityIndexState>().index;
    if (!slot || slot->table != &table) {
        auto index = std::make_unique<EntityIndex>();
        index->table = &table;
        const ElementIndex* elements = rule.toolkit.indexFor(rule.document);
        index->removal.removeTags(
            rule.document, elements ? std::optional(elements->openerCount()) : std::nullopt);
        index->occurrences
            = table.search->allOccurrencesIn([&](auto&& piece) { index->removal.forEachPiece(piece); });
        index->rowCursors.assign(index->occurrences.size(), 0);
        slot = std::move(index);
    }
    return *slot;
}

// The file offset of the first occurrence of every row inside the content,
// -1 where a row does not occur.
std::vector<qsizetype> firstHits(
    RuleContext& rule, const UnconEntitiesTable& table, const ContentRange& content)
{
    std::vector<qsizetype> hits(table.rows.size(), -1);
    EntityIndex& index = entityIndexOf(rule, table);
    const TagRemoval& whole = index.removal;
    if (whole.readsAsInTheWholeText(content)) {
        const qsizetype from = whole.plainIndexAtOrAfter(content.start, index.startRun);
        std::size_t endRun = index.startRun;
        const qsizetype to = whole.plainIndexAtOrAfter(content.end, endRun);
        for (qsizetype row = 0; row < table.rows.size(); ++row) {
            const std::vector<qsizetype>& starts = index.occurrences[row];
            std::size_t& cursor = index.rowCursors[row];
            const auto first = FirstWhere(starts.begin() + qsizetype(cursor), starts.end(),
                [from](qsizetype at) { return at >= from; });
            cursor = std::size_t(first - starts.begin());
            if (first != starts.end() && *first + table.rows[row].searchString.size() <= to)
                hits[row] = whole.fileOffsetOf(*first);
        }
        return hits;
    }
    TagRemoval own;
    own.removeTags(QStringView(rule.document).sliced(content.start, content.end - content.start));
    const std::vector<qsizetype> first
        = table.search->firstOccurrencesIn([&](auto&& piece) { own.forEachPiece(piece); });
    for (std::size_t row = 0; row < first.size(); ++row) {
        if (first[row] >= 0)
            hits[row] = content.start + own.fileOffsetOf(first[row]);
    }
    return hits;
}

void reportHit(RuleContext& rule, const UnconEntityRow& row, qsizetype fileOffset)
{
    if (!row.severity)
        return;
    const auto lineStart = std::prev(std::upper_bound(
        rule.lineStarts.begin(), rule.lineStarts.end(), static_cast<std::int32_t>(fileOffset)));
    const int lineIndex = static_cast<int>(lineStart - rule.lineStarts.begin());
    const auto column = static_cast<std::int32_t>(fileOffset - *lineStart + 1);
    const QString message = row.message + " in "_L1 + rule.tag.tagText;
    const QString data = rule.line(lineIndex).sliced(column - 1).toString();
    rule.findings.report(*row.severity, lineIndex + 1, message, data, column);
}

} // namespace

std::unique_ptr<RuleFileState> MakeUnconEntitiesFileState()
{
    return MakeFileState<EntityIndexState>();
}

void UNCONENTITIES(RuleContext& rule)
{
    const ValidationContext& context = rule.tag;
    // Elements named "D" are exempt on purpose.
    if (context.tagType != TagKind::Start || context.tagName == u"D")
        return;
    const auto* table = rule.settings.loaded<UnconEntitiesTable>(SupportFile::UnConEntitiesTbl);
    if (!table || table->rows.isEmpty())
        return;
    const std::optional<ContentRange> content = CurrentElementContent(rule.document, rule.toolkit, context);
    if (!content || content->end == content->start)
        return;
    const std::vector<qsizetype> hits = firstHits(rule, *table, *content);
    for (qsizetype row = 0; row < table->rows.size(); ++row) {
        if (hits[row] >= 0)
            reportHit(rule, table->rows[row], hits[row]);
    }
}
