#include "rules/ContentComparison.h"

#include "config/ConfigurationLoading.h"
#include "engine/RuleContext.h"

#include <QFileInfo>

namespace {

const QList<std::pair<QString, Comparison>>& comparisonCodes()
{
    static const QList<std::pair<QString, Comparison>> codes = {
        { QStringLiteral("EQUAL"), Comparison::Equal },
        { QStringLiteral("EQUALIGNORECASE"), Comparison::EqualIgnoringCase },
        { QStringLiteral("BEGINSWITH"), Comparison::BeginsWith },
        { QStringLiteral("DIFFERS"), Comparison::Differs },
    };
    return codes;
}

QString quoted(const QString& text)
{
    return u'"' + (text.size() > 60 ? text.left(60) + QStringLiteral("...") : text) + u'"';
}

// An occurrence that waits for its partner.
struct Occurrence {
    QString text;
    qsizetype offset;
    qsizetype number; // counted from 1 per element and row
};

// The occurrences of one row not yet compared: at most one side ever waits.
struct Waiting {
    QList<Occurrence> first;
    QList<Occurrence> second;
    qsizetype firstCount = 0;
    qsizetype secondCount = 0;
    qsizetype firstTaken = 0; // occurrences of `first` already compared
    qsizetype secondTaken = 0;
};

struct ComparisonFileState : RuleFileState {
    TagSweep tags;
    TagSweep contents;
    QList<Waiting> rows;
    TagSweep pcData; // the elements PCPDATACOMPARE has read
};

ComparisonFileState& fileState(const RuleContext& rule)
{
    return rule.ownState<ComparisonFileState>();
}

// The element's text once per start tag, read with nested elements of the
// same name as one.
std::optional<QString> elementText(const RuleContext& rule, TagSweep& contents)
{
    const std::optional<ElementText> element = CurrentElementContentView(rule);
    if (!element || contents.alreadyRead(rule.tag.tagName, element->offset))
        return std::nullopt;
    contents.markRead(rule.tag.tagName, element->offset + element->content.size());
    return FoldBlanks(TextWithoutTags(element->content));
}

void compare(
    const RuleContext& rule, const CompContRow& row, const Occurrence& first, const Occurrence& second)
{
    if (ContentsAgree(row.comparison, first.text, second.text))
        return;
    ReportPlaced(rule,
        { first.offset, row.error,
            QStringLiteral("%1: %2 / %3").arg(row.message, quoted(first.text), quoted(second.text)) });
}

// Sides may lie in either order in the file: whichever comes second finds its
// partner waiting.
void meet(
    const RuleContext& rule, const CompContRow& row, Waiting& waiting, bool isFirst, const QString& text)
{
    const qsizetype offset = rule.tag.filePosition - 1;
    QList<Occurrence>& own = isFirst ? waiting.first : waiting.second;
    QList<Occurrence>& other = isFirst ? waiting.second : waiting.first;
    qsizetype& otherTaken = isFirst ? waiting.secondTaken : waiting.firstTaken;
    const qsizetype number = ++(isFirst ? waiting.firstCount : waiting.secondCount);
    if (otherTaken < other.size()) {
        const Occurrence partner = other[otherTaken++];
        const Occurrence self { text, offset, number };
        compare(rule, row, isFirst ? self : partner, isFirst ? partner : self);
        if (otherTaken == other.size()) {
            other.clear();
            otherTaken = 0;
        }
        return;
    }
    own.append({ text, offset, number });
}

QStringList valuesFrom(
    const ConfigurationLoading& loading, const QString& tablePath, const QString& field, bool& readable)
{
    if (!field.startsWith(u'@')) {
        QStringList values;
        for (const QString& value : field.split(u';'))
            values.append(TableReading::Unescape(value.trimmed()));
        return values;
    }
    QString path = field.mid(1).trimmed();
    if (QFileInfo(path).isRelative())
        path = QFileInfo(tablePath).path() + u'/' + path;
    QStringList lines;
    readable = TableReading::ReadLines(loading, path, lines);
    for (QString& line : lines)
        line = line.trimmed();
    return lines;
}

} // namespace

bool ContentsAgree(Comparison comparison, QStringView first, QStringView second)
{
    switch (comparison) {
    case Comparison::Equal:
        return first == second;
    case Comparison::EqualIgnoringCase:
        return first.compare(second, Qt::CaseInsensitive) == 0;
    case Comparison::BeginsWith:
        return first.startsWith(second);
    case Comparison::Differs:
        return first != second;
    }
    return true;
}

bool LoadCompContTable(const ConfigurationLoading& loading, TableSet& set)
{
    return LoadRowTable<CompContTable>(loading, set, SupportFile::CompContTbl, 5,
        [&](const QStringList& f, const LineLint& lint) -> std::optional<CompContRow> {
            if (f[0].isEmpty() || f[1].isEmpty()) {
                lint(QStringLiteral("row dropped: a tag column is empty"));
                return std::nullopt;
            }
            const auto code = std::find_if(comparisonCodes().begin(), comparisonCodes().end(),
                [&](const auto& known) { return known.first.compare(f[2], Qt::CaseInsensitive) == 0; });
            if (code == comparisonCodes().end()) {
                lint(QStringLiteral("row dropped: comparison \"%1\" is none of EQUAL, EQUALIGNORECASE, "
                                    "BEGINSWITH, DIFFERS")
                         .arg(f[2]));
                return std::nullopt;
            }
            CompContRow row { TagSelector::parse(f[0]), TagSelector::parse(f[1]), code->second,
                IsErrorSeverity(f[3]), f[4] };
            if (row.first.name == row.second.name && row.first.attributes == row.second.attributes) {
                lint(QStringLiteral("row dropped: an element compared with itself"));
                return std::nullopt;
            }
            LintSeverity(f[3], lint);
            return row;
        });
}

void COMPCONT(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<CompContTable>(SupportFile::CompContTbl);
    const ValidationContext& context = rule.tag;
    if (!table || context.tagType != TagKind::Start)
        return;
    ComparisonFileState& file = fileState(rule);
    if (!file.tags.firstVisit(context.filePosition - 1))
        return;
    file.rows.resize(table->rows.size());
    std::optional<std::optional<QString>> text; // read once for all rows
    for (qsizetype i = 0; i < table->rows.size(); ++i) {
        const CompContRow& row = table->rows[i];
        const bool isFirst = row.first.matches(context.tagName, context.tagText);
        if (!isFirst && !row.second.matches(context.tagName, context.tagText))
            continue;
        if (!text)
            text = elementText(rule, file.contents);
        if (*text)
            meet(rule, row, file.rows[i], isFirst, **text);
    }
}

std::unique_ptr<RuleFileState> MakeComparisonFileState()
{
    return MakeFileState<ComparisonFileState>();
}

// Its entry runs only where COMPCONT or PCPDATACOMPARE made the state.
void ReportCompContAtFileEnd(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<CompContTable>(SupportFile::CompContTbl);
    const ComparisonFileState& file = fileState(rule);
    if (!table)
        return;
    for (qsizetype i = 0; i < file.rows.size() && i < table->rows.size(); ++i) {
        const CompContRow& row = table->rows[i];
        const Waiting& waiting = file.rows[i];
        auto reportUnpaired
            = [&](const auto& occurrences, qsizetype taken, const QString& own, const QString& other) {
                  for (qsizetype k = taken; k < occurrences.size(); ++k)
                      ReportPlaced(rule,
                          { occurrences[k].offset, row.error,
                              QStringLiteral("%1: %2 %3 has no %4 to compare with")
                                  .arg(row.message, own)
                                  .arg(occurrences[k].number)
                                  .arg(other) });
              };
        reportUnpaired(waiting.first, waiting.firstTaken, row.first.name, row.second.name);
        reportUnpaired(waiting.second, waiting.secondTaken, row.second.name, row.first.name);
    }
}

bool LoadPcDataTable(const ConfigurationLoading& loading, TableSet& set)
{
    const QString tablePath = set.file(SupportFile::PCPDataCompare);
    bool readable = true;
    const bool loaded = LoadRowTable<PcDataTable>(loading, set, SupportFile::PCPDataCompare, 4,
        [&](const QStringList& f, const LineLint& lint) -> std::optional<PcDataRow> {
            if (f[0].isEmpty() || f[1].isEmpty()) {
                lint(QStringLiteral("row dropped: the tag or values column is empty"));
                return std::nullopt;
            }
            LintSeverity(f[2], lint);
            const QStringList values = valuesFrom(loading, tablePath, f[1], readable);
            PcDataRow row { TagSelector::parse(f[0]), {}, IsErrorSeverity(f[2]), f[3] };
            for (const QString& value : values) {
                if (!value.isEmpty())
                    row.values.insert(value);
            }
            return row;
        });
    return loaded && readable;
}

void PCPDATACOMPARE(RuleContext& rule)
{
    const auto* table = rule.settings.loaded<PcDataTable>(SupportFile::PCPDataCompare);
    const ValidationContext& context = rule.tag;
    if (!table || context.tagType != TagKind::Start)
        return;
    ComparisonFileState& file = fileState(rule);
    // Reading each element once also keeps a tag met twice (the "N/A" row and
    // its own) to one finding.
    std::optional<QString> text;
    bool read = false;
    for (const PcDataRow& row : table->rows) {
        if (!row.tag.matches(context.tagName, context.tagText))
            continue;
        if (!read) {
            read = true;
            const std::optional<ElementText> element = CurrentElementContentView(rule);
            if (element && !file.pcData.alreadyRead(context.tagName, element->offset)) {
                file.pcData.markRead(context.tagName, element->offset + element->content.size());
                text = TextWithoutTags(element->content).trimmed();
            }
        }
        if (text && !row.values.contains(*text))
            ReportPlaced(rule,
                { context.filePosition - 1, row.error, row.message + QStringLiteral(": ") + quoted(*text) });
    }
}
