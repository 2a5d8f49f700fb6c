#include "rules/UnconvertedEntities.h"

#include "config/TableReading.h"
#include "core/RunState.h"
#include "report/Reports.h"
#include "rules/ElementContents.h"
#include "text/xmlClass.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// Longer messages do not fit the report's message column.
constexpr qsizetype kLongestMessage = 60;

} // namespace

std::optional<UnconEntityRow> ParseUnconEntityLine(const QString& line)
{
    const QString trimmed = line.trimmed();
    const qsizetype blank = trimmed.indexOf(u' ');
    if (blank < 0 || trimmed.contains("Search string"_L1, Qt::CaseInsensitive))
        return std::nullopt;
    QString search = trimmed.left(blank).trimmed();
    search.replace("<space>"_L1, " "_L1, Qt::CaseInsensitive);
    search.replace("<hrt>"_L1, "\r\n"_L1, Qt::CaseInsensitive);
    return UnconEntityRow { search, trimmed.sliced(blank).trimmed() };
}

bool LoadUnconEntitiesTable(RunState& state, TableSet& set)
{
    const QString& path = set.file(SupportFile::UnConEntitiesTbl);
    QStringList lines;
    if (!TableReading::ReadLines(state, path, lines))
        return false;
    auto table = std::make_shared<UnconEntitiesTable>();
    QList<QString> needles;
    for (const QString& line : lines) {
        const std::optional<UnconEntityRow> row = ParseUnconEntityLine(line);
        if (!row)
            continue;
        if (row->message.size() > kLongestMessage) {
            state.ui.messageBox(
                "Please check "_L1 + path + "\r\nLength of Error Message should not be greater than 60."_L1,
                kProgramTitle, MessageIcon::Critical);
        }
        table->rows.append(*row);
        needles.append(row->searchString);
    }
    table->search = std::make_shared<MultiStringSearch>(needles);
    set.table(SupportFile::UnConEntitiesTbl) = std::move(table);
    return true;
}

namespace {

// A stretch of the plain text that was one unbroken stretch of the file.
struct KeptRun {
    qsizetype fileStart;
    qsizetype plainStart;
};

// The whole text with its stand-alone tags removed, searched once for every
// row. A "<" stands alone when the first ">" after it comes before the next
// "<". In a stretch of the file where every "<" stands alone, removing the
// tags of that stretch alone gives exactly the same characters: every tag is
// one of those stand-alone stretches (all but "<>" and those that begin with
// "< "), and deleting one can never join the text around it into a new tag.
// So an element whose content holds no stray "<" is answered from this index,
// and only an element with a stray "<" inside is read on its own.
struct EntityIndex : RuleFileCache {
    const UnconEntitiesTable* table = nullptr;
    std::vector<KeptRun> runs; // by plainStart (and fileStart) ascending
    qsizetype plainSize = 0;
    std::vector<qsizetype> strayOpens; // file offsets of every "<" that does not stand alone
    std::vector<std::vector<qsizetype>> occurrences; // per row, plain starts ascending

    bool holdsStrayOpen(const ContentRange& content) const
    {
        const auto stray = std::lower_bound(strayOpens.begin(), strayOpens.end(), content.start);
        return stray != strayOpens.end() && *stray < content.end;
    }

    qsizetype fileOffsetOf(qsizetype plain) const
    {
        const auto run = std::prev(std::upper_bound(
            runs.begin(), runs.end(), plain, [](qsizetype p, const KeptRun& r) { return p < r.plainStart; }));
        return run->fileStart + (plain - run->plainStart);
    }

    // The plain index of the first kept character at or after a file offset.
    qsizetype plainIndexAtOrAfter(qsizetype file) const
    {
        const auto next = std::upper_bound(
            runs.begin(), runs.end(), file, [](qsizetype f, const KeptRun& r) { return f < r.fileStart; });
        if (next == runs.begin())
            return 0;
        const KeptRun& run = *std::prev(next);
        const qsizetype runEnd = next == runs.end() ? plainSize : next->plainStart;
        return std::min(run.plainStart + (file - run.fileStart), runEnd);
    }
};

// Removes the stand-alone tags, keeping every other character, and notes
// where the stray "<" are.
QString plainTextOf(QStringView text, EntityIndex& index)
{
    QString plain;
    plain.reserve(text.size());
    qsizetype copiedFrom = 0;
    auto keep = [&](qsizetype upTo) {
        if (upTo > copiedFrom) {
            index.runs.push_back({ copiedFrom, plain.size() });
            plain += text.sliced(copiedFrom, upTo - copiedFrom);
        }
    };
    qsizetype open = text.indexOf(u'<');
    qsizetype close = text.indexOf(u'>');
    while (open >= 0) {
        // The first ">" found so far stays the first after this "<" unless it
        // lies before it: a run of "<" costs one search, not one each.
        if (close >= 0 && close < open)
            close = text.indexOf(u'>', open + 1);
        const qsizetype nextOpen = text.indexOf(u'<', open + 1);
        if (close < 0 || (nextOpen >= 0 && nextOpen < close)) {
            index.strayOpens.push_back(open);
            open = nextOpen;
            continue;
        }
        if (close > open + 1 && text[open + 1] != u' ') {
            keep(open);
            copiedFrom = close + 1;
        }
        open = nextOpen;
    }
    keep(text.size());
    return plain;
}

const EntityIndex& entityIndexOf(RunState& state, const UnconEntitiesTable& table)
{
    auto& slot = state.ruleCaches.unconvertedEntities;
    if (!slot || static_cast<const EntityIndex&>(*slot).table != &table) {
        auto index = std::make_unique<EntityIndex>();
        index->table = &table;
        const QString plain = plainTextOf(state.wholeText, *index);
        index->plainSize = plain.size();
        index->occurrences = table.search->allOccurrences(plain);
        slot = std::move(index);
    }
    return static_cast<const EntityIndex&>(*slot);
}

// The file offset of the first occurrence of every row inside the content,
// -1 where a row does not occur.
std::vector<qsizetype> firstHits(
    RunState& state, const UnconEntitiesTable& table, const ContentRange& content)
{
    std::vector<qsizetype> hits(table.rows.size(), -1);
    const EntityIndex& index = entityIndexOf(state, table);
    if (!index.holdsStrayOpen(content)) {
        const qsizetype from = index.plainIndexAtOrAfter(content.start);
        const qsizetype to = index.plainIndexAtOrAfter(content.end);
        for (qsizetype row = 0; row < table.rows.size(); ++row) {
            const std::vector<qsizetype>& starts = index.occurrences[row];
            const auto first = std::lower_bound(starts.begin(), starts.end(), from);
            if (first != starts.end() && *first + table.rows[row].searchString.size() <= to)
                hits[row] = index.fileOffsetOf(*first);
        }
        return hits;
    }
    xmlClass xml(state.toolkit);
    QString plain = state.wholeText.sliced(content.start, content.end - content.start);
    std::vector<qsizetype> kept;
    xml.RemoveTagsKeepingPositions(plain, kept);
    const std::vector<qsizetype> first = table.search->firstOccurrences(plain);
    for (std::size_t row = 0; row < first.size(); ++row) {
        if (first[row] >= 0)
            hits[row] = content.start + kept[first[row]];
    }
    return hits;
}

void reportHit(RunState& state, const UnconEntityRow& row, qsizetype fileOffset)
{
    const QString prefix = row.message.left(3).toUpper();
    const bool isError = prefix == u"E /";
    if (!isError && prefix != u"W /")
        return;
    const auto lineStart = std::prev(std::upper_bound(
        state.lineStarts.begin(), state.lineStarts.end(), static_cast<std::int32_t>(fileOffset)));
    const int lineIndex = static_cast<int>(lineStart - state.lineStarts.begin());
    const auto column = static_cast<std::int32_t>(fileOffset - *lineStart + 1);
    const QString message = row.message.sliced(3).trimmed() + " in "_L1 + state.context.tagText;
    const QString data = state.line(lineIndex).sliced(column - 1).toString();
    if (isError)
        WriteErrorEntry(state, lineIndex + 1, message, data, column);
    else
        WriteWarningEntry(state, lineIndex + 1, message, data, column);
}

} // namespace

void UNCONENTITIES(RunState& state)
{
    const ValidationContext& context = state.context;
    // Elements named "D" are exempt on purpose.
    if (context.tagType != TagKind::Start || context.tagName == u"D")
        return;
    const auto* table = state.config.ActiveTableSet.loaded<UnconEntitiesTable>(SupportFile::UnConEntitiesTbl);
    if (!table || table->rows.isEmpty())
        return;
    const std::optional<ContentRange> content = CurrentElementContent(state, context);
    if (!content || content->end == content->start)
        return;
    const std::vector<qsizetype> hits = firstHits(state, *table, *content);
    for (qsizetype row = 0; row < table->rows.size(); ++row) {
        if (hits[row] >= 0)
            reportHit(state, table->rows[row], hits[row]);
    }
}
