#include "rules/ConvertToAttribute.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"
#include "rules/ConversionText.h"
#include "text/TagScanner.h"

#include <map>

bool LoadConvert2AttribTable(const ConfigurationLoading& loading, TableSet& set)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, set.file(SupportFile::Convert2AttribTbl), lines))
        return false;
    auto table = std::make_shared<Convert2AttribTable>();
    // The rule compares its position code as written: a lower-case code
    // checks nothing.
    TableReading::LintCodes(loading, set.file(SupportFile::Convert2AttribTbl), lines, 6,
        { { 2, QStringLiteral("action"), { QStringLiteral("COPY"), QStringLiteral("DELETE") } },
            { 5, QStringLiteral("position code"),
                { QStringLiteral("S"), QStringLiteral("E"), QStringLiteral("B") }, Qt::CaseSensitive } });
    for (const QStringList& f :
        TableReading::RowsOf(loading, set.file(SupportFile::Convert2AttribTbl), lines, 6))
        table->rows.append({ f[0], f[1].toUpper(), ConversionActionOfCode(f[2]), f[3], SeverityOfCode(f[4]),
            PlacementOfCode(f[5], Qt::CaseSensitive) });
    set.table(SupportFile::Convert2AttribTbl) = std::move(table);
    return true;
}

std::optional<bool> ExpandedTextLeadsContent(const QString& dashedContent, const QString& expanded)
{
    // An empty text has no place to stand in.
    if (expanded.isEmpty())
        return std::nullopt;
    const qsizetype pos = dashedContent.indexOf(expanded, 0, Qt::CaseInsensitive);
    if (pos < 0)
        return std::nullopt;
    for (qsizetype i = 0; i < pos; ++i) {
        if (IsWordCharacter(dashedContent[i]))
            return false;
    }
    const qsizetype after = pos + expanded.size();
    return after >= dashedContent.size() || !IsWordCharacter(dashedContent[after]);
}

namespace {

// Built on first use, so that every tag of the file reads it again instead
// of searching the whole text afresh: the dashed text before the tags of one
// element, by the zero-based offset where that text starts; it only ever
// grows to the right.
struct PrecedingTexts : RuleFileState {
    std::map<qsizetype, std::shared_ptr<PrecedingText>> byStart;
    PrecedingText::Searches searches; // every row's expanded text, made at the first use
};

// What one tag offers the rows: the dashed element content and the dashed
// text before the tag, each made at most once however many rows ask.
class TagTexts {
public:
    TagTexts(RuleContext& rule, const Convert2AttribTable& table)
        : rule_(rule)
        , table_(table)
    {
    }

    const QString& dashedContent()
    {
        if (!content_)
            content_ = DashTags(CurrentElementText(rule_.document, rule_.toolkit, rule_.tag));
        return *content_;
    }

    // The text from just after the innermost open element's start tag (or
    // from the file start) up to the current tag.
    PrecedingText& preceding()
    {
        if (preceding_)
            return *preceding_;
        const ValidationContext& context = rule_.tag;
        qsizetype start = 0;
        if (const std::int32_t enclosing = EnclosingOpenTagPosition(rule_.openTags); enclosing != 0)
            start = enclosing - 1 + rule_.openTags.back().tagText.size();
        const qsizetype end = context.filePosition - 1;
        auto& state = rule_.ownState<PrecedingTexts>();
        auto& cache = state.byStart;
        // Elements opened after the enclosing one are closed by now.
        cache.erase(cache.upper_bound(start), cache.end());
        forgetClosedElements(cache);
        std::shared_ptr<PrecedingText>& text = cache[start];
        if (!text || text->end() > end) {
            if (!state.searches) {
                QStringList expandedTexts;
                for (const Convert2AttribRow& row : table_.rows)
                    expandedTexts << row.expandedText;
                state.searches = PrecedingText::SearchesFor(expandedTexts);
            }
            text = std::make_shared<PrecedingText>(start, state.searches);
        }
        text->extendTo(rule_.document, end);
        preceding_ = text.get();
        return *preceding_;
    }

private:
    // An element closed before a later one opened keeps its entry below the
    // later start; every element of a large file would stay. Now and then
    // only the entries of elements still open are kept (an entry is only
    // ever asked for again while its element is open, and one made afresh
    // answers the same), often enough that the cache stays within twice the
    // open elements and the sweeps cost a constant per element.
    void forgetClosedElements(std::map<qsizetype, std::shared_ptr<PrecedingText>>& cache) const
    {
        const QList<ValidationContext>& open = rule_.openTags;
        if (cache.size() <= 2 * std::size_t(open.size()) + 16)
            return;
        std::map<qsizetype, std::shared_ptr<PrecedingText>> kept;
        const auto keep = [&](qsizetype start) {
            if (const auto found = cache.find(start); found != cache.end())
                kept.insert(cache.extract(found));
        };
        keep(0);
        for (const ValidationContext& tag : open) {
            if (!tag.tagText.isEmpty())
                keep(tag.filePosition - 1 + tag.tagText.size());
        }
        cache = std::move(kept);
    }

    RuleContext& rule_;
    const Convert2AttribTable& table_;
    std::optional<QString> content_;
    PrecedingText* preceding_ = nullptr;
};

void report(RuleContext& rule, const Convert2AttribRow& row, const char* outcome)
{
    const ValidationContext& context = rule.tag;
    rule.findings.report(row.severity, context.lineNumber,
        QStringLiteral("Expanded value of ") + row.attributeName + QLatin1String(outcome), rule.dataFrom(0),
        context.linePosition);
}

void checkAfter(RuleContext& rule, TagTexts& texts, const Convert2AttribRow& row)
{
    const std::optional<bool> found = ExpandedTextLeadsContent(texts.dashedContent(), row.expandedText);
    // Text that is not there at all is reported by neither action.
    if (!found)
        return;
    if (row.action == ConversionAction::Delete && *found)
        report(rule, row, " Found after tag");
    else if (row.action == ConversionAction::Copy && !*found)
        report(rule, row, " Not Found after tag");
}

void checkBefore(RuleContext& rule, TagTexts& texts, const Convert2AttribRow& row)
{
    const bool found = texts.preceding().endsWithExpanded(row.expandedText);
    if (row.action == ConversionAction::Delete && found)
        report(rule, row, " Found before tag");
    else if (row.action == ConversionAction::Copy && !found)
        report(rule, row, " Not found before tag");
}

} // namespace

std::unique_ptr<RuleFileState> MakeConvert2AttribFileState()
{
    return MakeFileState<PrecedingTexts>();
}

void CONVERT2ATTRIB(RuleContext& rule)
{
    const ValidationContext& context = rule.tag;
    if (context.tagType == TagKind::End || !context.tagText.contains(u'='))
        return;
    const auto* table = rule.settings.loaded<Convert2AttribTable>(SupportFile::Convert2AttribTbl);
    if (!table)
        return;
    const TagScanner xml(rule.toolkit);
    TagTexts texts(rule, *table);
    // Rows often ask for the same attribute: it is read once per name.
    const QString* lastName = nullptr;
    QString upperValue;
    for (const Convert2AttribRow& row : table->rows) {
        if (!lastName || *lastName != row.attributeName) {
            upperValue = xml.GetAttributeValue(context.tagText, row.attributeName).toUpper();
            lastName = &row.attributeName;
        }
        if (upperValue != row.attributeValueUpper)
            continue;
        if (LooksBefore(row.where))
            checkBefore(rule, texts, row);
        if (LooksAfter(row.where))
            checkAfter(rule, texts, row);
    }
}
