#pragma once

#include "core/RuleFileState.h"
#include "core/TableSet.h"
#include "core/TagNameIndex.h"
#include "engine/RegExp.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <cstdint>
#include <forward_list>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

struct ConfigurationLoading;
struct RuleContext;
class TagScanner;
class ElementIndex;

// What a row's operator asks of the values, read once when the table loads.
enum class TextValidityOperator : std::int8_t {
    Forbid, // any other word: the pattern must not occur
    Count, // "=", "!=", "<", ">", "=>", "=<" against the number
    NoRepeat, // "!dup"
    AllAlike, // "dup"
    Step, // "+n" or "-n"
    Arithmetic, // holds "@eval"
    Date, // holds "@now"
};

// The kind of an operator as written in the table.
TextValidityOperator TextValidityOperatorKind(const QString& operatorText);

// One row of the text-validity table: what a tag's content must satisfy.
// Columns: condition | value pattern | tag | split on tags (Y) | excluded
// elements | operator | number | severity | message.
struct TextValidityRow {
    QString condition; // must occur in the whole file (case ignored); empty: always applies
    QString valuePattern; // picks the values out of the content (case respected)
    QString tag;
    bool splitOnTags = false;
    QStringList excluded; // element names
    QString operatorText;
    TextValidityOperator operatorKind = TextValidityOperator::Forbid;
    // For "@eval", read once: where the expression starts in the operator,
    // and the comparison (one of the rule's own constant texts).
    qsizetype arithmeticExpressionStart = 0;
    QStringView arithmeticComparison;
    std::int32_t number = 0;
    Severity severity = Severity::Warning;
    QString message;
    QString preparationKey; // the split flag and excluded list: rows alike share their prepared content
    RegExp conditionExpression; // the two patterns, compiled on first use
    RegExp valueExpression;
};

struct TextValidityTable : SupportTable {
    QList<TextValidityRow> rows; // in file order
    TagNameIndex index; // the tag of every row, in file order
    QHash<QString, QList<int>> rowsByTag; // exact tag to its row indexes, ascending
};

// Fills a row from the nine trimmed columns of a table line.
TextValidityRow ParseTextValidityRow(const QStringList& columns, const TagScanner& xml);
// Why an operator would not do what its author most likely meant (a
// comparison the rule does not know falls to the branch that forbids the
// pattern); empty when it is one the rule knows.
QString TextValidityOperatorProblem(const QString& operatorText);

bool LoadTextValidityTable(const ConfigurationLoading& loading, TableSet& set);

// The check's own file state: which conditions the file holds, which
// failures it has told.
std::unique_ptr<RuleFileState> MakeTextValidityFileState();

// What the check carries from one file to the next: the number a
// signed-step row took from the first value of the last element it checked,
// by row. No finding reads that number back, so a file of a parallel batch
// starts its share from "not written" on every row, and the run takes the
// numbers each file wrote in batch order: the run ends with the numbers one
// file after another leaves.
class TextValidityRunState : public RuleRunState {
public:
    // The row's number as the files so far left it: its table number until
    // one wrote it; on a share, unwritten until this file writes it.
    std::int32_t numberOf(const TextValidityRow& row) const
    {
        return stepNumbers_.value(&row, apart_ ? kUnwritten : row.number);
    }
    void write(const TextValidityRow& row, std::int32_t number) { stepNumbers_.insert(&row, number); }
    void startApart() override { apart_ = true; }
    void takeLater(const RuleRunState& later) override;

private:
    // Values are read from text as 32-bit numbers; this one stands for "not
    // written" only.
    static constexpr std::int32_t kUnwritten = std::numeric_limits<std::int32_t>::min();
    QHash<const void*, std::int32_t> stepNumbers_;
    bool apart_ = false;
};

std::unique_ptr<RuleRunState> MakeTextValidityRunState();

// Checks the content of the current start tag's element against every row
// of its tag; a row gives at most one finding per element.
void TEXTVALIDITY(RuleContext& context);

// Content prepared for the value search, with where each character came from
// in the element content, so that findings are placed in the file.
struct PlacedContent {
    QString text;
    // Where the characters came from, stretch by stretch: from `at` in the
    // text up to the next stretch, each character came from `from` on, one
    // for one. A stretch per piece kept, not a place per character: most
    // elements are prepared and searched, and seldom placed. Empty: the text
    // is the content itself.
    struct Stretch {
        std::int32_t at;
        std::int32_t from;
    };
    std::vector<Stretch> origin;

    qsizetype originOf(qsizetype at) const;
};

// Start and end tags already paired for a text that holds the content at
// base: the file's element index serves every content that is still the
// piece of the file it was taken from, so no element needs its own index.
struct TagPairs {
    const ElementIndex* index = nullptr;
    QStringView indexedText;
    qsizetype base = 0;
};

// The content of the element being checked, and what the rows make of it.
// Rows of one element mostly share their split flag and excluded list, so
// each distinct preparation is made once per element.
class ElementContent {
public:
    explicit ElementContent(QString content, std::optional<TagPairs> filePairs = std::nullopt)
        : raw_(std::move(content))
        , asIs_ { raw_, {} }
        , filePairs_(filePairs)
    {
    }
    // The content with the row's split flag and cuts applied.
    const PlacedContent& preparedFor(const TextValidityRow& row, const TagScanner& xml);

private:
    QString raw_;
    PlacedContent asIs_; // for rows that neither split nor cut, the most common kind
    std::optional<TagPairs> filePairs_;
    // By split flag and excluded list: an element has a preparation or two,
    // so a short list searched in order costs less than a hash. The list
    // keeps the preparations already handed out where they are, and an
    // element that needs none allocates nothing.
    std::forward_list<std::pair<QString, PlacedContent>> prepared_;
};

// The steps of one row for the current start tag, from its element content
// on: split flag, excluded elements, value search, operator and finding.
// Throws on a run-time failure (a pattern the engine rejects).
void ApplyTextValidityRow(RuleContext& context, const TextValidityRow& row, ElementContent& content);

// Every embedded element, start tag through end tag, and every stand-alone
// tag become one "|". A start tag whose end tag is missing gives "|" alone.
// Without pairs for the content's text, the text is indexed on the spot.
// Both take the content and hand it back as it was when there is nothing to
// do: a copy of a long element's places would cost more than the search.
PlacedContent SplitOnTags(
    PlacedContent content, const TagScanner& xml, std::optional<TagPairs> pairs = std::nullopt);

// Removes every embedded element of the name, start tag through end tag; a
// start tag without its end tag stays.
PlacedContent CutElements(PlacedContent content, const QString& name, const TagScanner& xml,
    std::optional<TagPairs> pairs = std::nullopt);

// Text read as a number the way the tables mean it: leading blanks, a sign
// and digits; anything else ends the number, and no digit at all gives 0.
std::int32_t LeadingNumber(QStringView text);

// Compares a with b by one of "=", "<", ">", "=>", "=<", "!="; nothing for
// any other operator.
std::optional<bool> CompareBy(QStringView comparison, double a, double b);

// The "@eval" relation: true when, for every match of the value pattern in
// the content, the operator's expression compared with the number holds.
bool EvaluateArithmetic(
    const QString& operatorText, std::int32_t number, const RegExp& valueExpression, QStringView content);
