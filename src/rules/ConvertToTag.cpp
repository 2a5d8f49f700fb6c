#include "rules/ConvertToTag.h"

#include "config/TableReading.h"
#include "core/RunState.h"
#include "engine/RuleHelpers.h"
#include "rules/ConversionText.h"
#include "rules/ElementContents.h"

#include <QHash>

bool LoadConvert2TagTable(RunState& state, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(state, set.file(SupportFile::Convert2TagTbl), lines))
        return false;
    auto table = std::make_shared<Convert2TagTable>();
    TableReading::LintCodes(state, set.file(SupportFile::Convert2TagTbl), lines, 5,
        { { 1, QStringLiteral("action"), { QStringLiteral("COPY"), QStringLiteral("DELETE") } },
            { 4, QStringLiteral("position code"),
                { QStringLiteral("S"), QStringLiteral("E"), QStringLiteral("B") } } });
    for (const QStringList& f : TableReading::RowsOf(state, set.file(SupportFile::Convert2TagTbl), lines, 5))
        table->rows.append({ f[0], f[1], f[2], f[3], f[4] });
    set.table(SupportFile::Convert2TagTbl) = std::move(table);
    return true;
}

bool ContainsWholeWord(QStringView text, const QString& word)
{
    if (word.isEmpty())
        return false;
    for (qsizetype at = text.indexOf(word, 0, Qt::CaseInsensitive); at >= 0;
         at = text.indexOf(word, at + 1, Qt::CaseInsensitive)) {
        const qsizetype after = at + word.size();
        const bool clearBefore = at == 0 || !IsWordCharacter(text[at - 1]);
        const bool clearAfter = after >= text.size() || !IsWordCharacter(text[after]);
        if (clearBefore && clearAfter)
            return true;
    }
    return false;
}

QString LastWordBefore(QStringView text, qsizetype start, qsizetype end)
{
    start = std::max<qsizetype>(start, 0);
    end = std::min(end, text.size());
    qsizetype first = end;
    while (first > start && IsWordCharacter(text[first - 1]))
        --first;
    return first < end ? text.sliced(first, end - first).toString() : QString();
}

namespace {

void report(RunState& state, const Convert2TagRow& row, const char* phrase)
{
    const ValidationContext& context = state.context;
    ReportBySeverity(state, row.severity, context.lineNumber,
        u'"' + row.word + u'"' + QLatin1String(phrase) + context.tagText, DataContentAt(state, 0),
        context.linePosition);
}

// The text before the tag starts after the start tag of the outermost open
// element, so that a word in an enclosing element's text still counts.
QString wordBeforeTag(const RunState& state)
{
    qsizetype start = 0;
    if (!state.openTags.isEmpty()) {
        const ValidationContext& outermost = state.openTags.front();
        start = outermost.filePosition - 1 + outermost.tagText.size();
    }
    return LastWordBefore(state.wholeText, start, state.context.filePosition - 1);
}

// Contents up to this length are searched as they stand; a longer one is
// answered from where the word stands in the whole file, so that contents
// inside contents (footnotes in footnotes) are not searched once per level.
constexpr qsizetype kSearchedContentLength = 4096;

struct WordIndexCache : RuleFileCache {
    QHash<QString, WholeWordIndex> byWord;
};

WholeWordIndex& wordIndex(RunState& state, const QString& word)
{
    auto& slot = state.ruleCaches.convertToTag;
    if (!slot)
        slot = std::make_unique<WordIndexCache>();
    auto& byWord = static_cast<WordIndexCache&>(*slot).byWord;
    auto known = byWord.find(word);
    if (known == byWord.end())
        known = byWord.emplace(word, WholeWordIndex(word));
    return *known;
}

// The content of the element the current start tag opens: where it lies in
// the file text, or, where the file's index does not know the tag, the
// toolkit's copy of it.
struct CurrentContent {
    std::optional<ContentRange> range;
    QString copy;
};

CurrentContent currentContent(RunState& state)
{
    if (std::optional<ContentRange> range = CurrentElementContent(state, state.context))
        return { range, {} };
    return { std::nullopt, CurrentElementText(state) };
}

bool wordAfterTag(RunState& state, const CurrentContent& content, const QString& word)
{
    if (!content.range)
        return ContainsWholeWord(content.copy, word);
    const auto [start, end] = *content.range;
    if (end - start <= kSearchedContentLength)
        return ContainsWholeWord(QStringView(state.wholeText).sliced(start, end - start), word);
    return wordIndex(state, word).containsIn(state.wholeText, start, end);
}

} // namespace

void CONVERT2TAG(RunState& state)
{
    const ValidationContext& context = state.context;
    if (context.tagType != TagKind::Start)
        return;
    const auto* table = state.config.ActiveTableSet.loaded<Convert2TagTable>(SupportFile::Convert2TagTbl);
    if (!table)
        return;
    std::optional<CurrentContent> content; // found once, whatever number of rows ask
    for (const Convert2TagRow& row : table->rows) {
        if (row.tagName != context.tagName)
            continue;
        const QString position = row.position.toUpper();
        const QString action = row.action.toUpper();
        const bool isDelete = action == QLatin1String("DELETE");
        if (!isDelete && action != QLatin1String("COPY"))
            continue;
        if (position == QLatin1String("S") || position == QLatin1String("B")) {
            const bool found = wordBeforeTag(state).toUpper() == row.word.toUpper();
            if (isDelete && found)
                report(state, row, " Found right before ");
            else if (!isDelete && !found)
                report(state, row, " Not found right before ");
        }
        if (position == QLatin1String("E") || position == QLatin1String("B")) {
            if (!content)
                content = currentContent(state);
            const bool found = wordAfterTag(state, *content, row.word);
            if (isDelete && found)
                report(state, row, " Found right after ");
            else if (!isDelete && !found)
                report(state, row, " Not found right after ");
        }
    }
}
