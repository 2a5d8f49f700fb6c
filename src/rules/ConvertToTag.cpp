#include "rules/ConvertToTag.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "engine/RuleContext.h"
#include "rules/ConversionText.h"
#include "rules/ElementContents.h"

#include <QHash>

bool LoadConvert2TagTable(const ConfigurationLoading& loading, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, set.file(SupportFile::Convert2TagTbl), lines))
        return false;
    auto table = std::make_shared<Convert2TagTable>();
    TableReading::LintCodes(loading, set.file(SupportFile::Convert2TagTbl), lines, 5,
        { { 1, QStringLiteral("action"), { QStringLiteral("COPY"), QStringLiteral("DELETE") } },
            { 4, QStringLiteral("position code"),
                { QStringLiteral("S"), QStringLiteral("E"), QStringLiteral("B") } } });
    for (const QStringList& f :
        TableReading::RowsOf(loading, set.file(SupportFile::Convert2TagTbl), lines, 5))
        table->rows.append({ f[0], ConversionActionOfCode(f[1]), f[2], SeverityOfCode(f[3]),
            PlacementOfCode(f[4], Qt::CaseInsensitive) });
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

void report(RuleContext& rule, const Convert2TagRow& row, const char* phrase)
{
    const ValidationContext& context = rule.tag;
    rule.findings.report(row.severity, context.lineNumber,
        u'"' + row.word + u'"' + QLatin1String(phrase) + context.tagText, rule.dataFrom(0),
        context.linePosition);
}

// The text before the tag starts after the start tag of the outermost open
// element, so that a word in an enclosing element's text still counts.
QString wordBeforeTag(const RuleContext& rule)
{
    qsizetype start = 0;
    if (!rule.openTags.isEmpty()) {
        const ValidationContext& outermost = rule.openTags.front();
        start = outermost.filePosition - 1 + outermost.tagText.size();
    }
    return LastWordBefore(rule.document, start, rule.tag.filePosition - 1);
}

// Contents up to this length are searched as they stand; a longer one is
// answered from where the word stands in the whole file, so that contents
// inside contents (footnotes in footnotes) are not searched once per level.
constexpr qsizetype kSearchedContentLength = 4096;

struct Convert2TagFileState : RuleFileState {
    QHash<QString, WholeWordIndex> byWord;
};

WholeWordIndex& wordIndex(const RuleContext& rule, const QString& word)
{
    auto& byWord = rule.ownState<Convert2TagFileState>().byWord;
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

CurrentContent currentContent(const RuleContext& rule)
{
    if (std::optional<ContentRange> range = CurrentElementContent(rule.document, rule.toolkit, rule.tag))
        return { range, {} };
    return { std::nullopt, CurrentElementText(rule.document, rule.toolkit, rule.tag) };
}

bool wordAfterTag(const RuleContext& rule, const CurrentContent& content, const QString& word)
{
    if (!content.range)
        return ContainsWholeWord(content.copy, word);
    const auto [start, end] = *content.range;
    if (end - start <= kSearchedContentLength)
        return ContainsWholeWord(QStringView(rule.document).sliced(start, end - start), word);
    return wordIndex(rule, word).containsIn(rule.document, start, end);
}

} // namespace

std::unique_ptr<RuleFileState> MakeConvert2TagFileState()
{
    return MakeFileState<Convert2TagFileState>();
}

void CONVERT2TAG(RuleContext& rule)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType != TagKind::Start)
        return;
    const auto* table = rule.settings.loaded<Convert2TagTable>(SupportFile::Convert2TagTbl);
    if (!table)
        return;
    std::optional<CurrentContent> content; // found once, whatever number of rows ask
    for (const Convert2TagRow& row : table->rows) {
        if (row.tagName != context.tagName)
            continue;
        if (row.action == ConversionAction::None)
            continue;
        const bool isDelete = row.action == ConversionAction::Delete;
        if (LooksBefore(row.position)) {
            const bool found = wordBeforeTag(rule).toUpper() == row.word.toUpper();
            if (isDelete && found)
                report(rule, row, " Found right before ");
            else if (!isDelete && !found)
                report(rule, row, " Not found right before ");
        }
        if (LooksAfter(row.position)) {
            if (!content)
                content = currentContent(rule);
            const bool found = wordAfterTag(rule, *content, row.word);
            if (isDelete && found)
                report(rule, row, " Found right after ");
            else if (!isDelete && !found)
                report(rule, row, " Not found right after ");
        }
    }
}
