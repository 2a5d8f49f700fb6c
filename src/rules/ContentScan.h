#pragma once

#include "config/TableReading.h"
#include "core/RuleFileState.h"
#include "core/TableSet.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

struct ConfigurationLoading;
struct RuleContext;

// What the cross-reference, pair and content-comparison routines share: one
// finding at a place in the file, the reading of an element's content, and
// the bookkeeping that keeps each of them to one pass over the file.

// A finding of one table row at a zero-based offset of the whole text.
struct PlacedFinding {
    qsizetype offset = 0;
    bool error = false;
    QString message;
    bool operator==(const PlacedFinding&) const = default;
};

// Reports the finding at the line and column of its offset, with the rest of
// that line as its data, under the routine that is running.
void ReportPlaced(const RuleContext& rule, const PlacedFinding& finding);

// Whether a table's severity field makes an error ("E", any case).
bool IsErrorSeverity(QStringView severity);

// A tag column may hold the element name or a whole tag ("xref", "<xref>").
QString ElementNameOf(const QString& field);

// Where the tag that starts at `at` ends (one past its ">"), or -1 when the
// "<" begins no tag: a "<" followed by another "<" before any ">" is text.
qsizetype TagEnd(QStringView text, qsizetype at);

// The text without its tags.
QString TextWithoutTags(QStringView text);

// Runs of blanks, tabs and line breaks become one blank; the ends are trimmed.
QString FoldBlanks(QStringView text);

// The content of the element the current start tag opens, as a view of the
// whole text, with the offset where it starts; nothing for another kind of
// tag or an element that is never closed.
struct ElementText {
    QStringView content;
    qsizetype offset = 0;
};
std::optional<ElementText> CurrentElementContentView(const RuleContext& rule);

// Keeps a routine to one look at each tag and each stretch of text of a file.
// A routine declared on the "N/A" row and on the element's own row runs twice
// for one tag; the content of an element nested in another of the same name
// was read with the outer one, and reading it again would make a file of
// nested elements quadratic.
class TagSweep {
public:
    // Whether the tag at this offset is met for the first time (tags come in
    // file order).
    bool firstVisit(qsizetype tagOffset)
    {
        if (tagOffset <= lastTag_)
            return false;
        lastTag_ = tagOffset;
        return true;
    }
    // Whether content at this offset lies inside content already read for
    // the key (an element name, or a row).
    bool alreadyRead(const QString& key, qsizetype offset) const { return offset < readUpTo_.value(key, -1); }
    void markRead(const QString& key, qsizetype end) { readUpTo_[key] = end; }

private:
    qsizetype lastTag_ = -1;
    QHash<QString, qsizetype> readUpTo_;
};

// The value of an attribute as the tag toolkit reads it: written
// ` name="value"`; empty when absent.
QString AttributeValueOf(QStringView tag, QStringView name);

// A table's tag column: an element name, or a start tag whose attributes the
// tag must also carry with the same values (`<xref ref-type="bibr">`).
struct TagSelector {
    QString name;
    QList<std::pair<QString, QString>> attributes;

    static TagSelector parse(const QString& field);
    bool matches(const QString& tagName, QStringView tagText) const;
};

// Tells the table lint about one line of the table being loaded.
using LineLint = std::function<void(const QString& message)>;

// Lints a severity field: "E" makes errors, "W" warnings; anything else
// loads as a warning, which is seldom what was meant.
void LintSeverity(const QString& field, const LineLint& lint);

// Lints a pattern field that the rule's regular-expression engine rejects.
void LintRegExp(const ConfigurationLoading& loading, const QString& pattern, const LineLint& lint);

// Loads a headed table of `width` "|"-separated fields: `makeRow(fields,
// lint)` turns each row into the table's row type, or nothing to drop it
// (after telling the lint why). Rows of another width are dropped, and the
// lint hears of them.
template <class Table, class MakeRow>
bool LoadRowTable(
    const ConfigurationLoading& loading, TableSet& set, SupportFile which, int width, MakeRow&& makeRow)
{
    const QString path = set.file(which);
    QStringList lines;
    if (!TableReading::ReadLines(loading, path, lines))
        return false;
    auto table = std::make_shared<Table>();
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (lines[i].trimmed().isEmpty())
            continue;
        const LineLint lint = [&](const QString& message) { TableReading::Lint(loading, path, i, message); };
        const QStringList fields = TableReading::SplitRow(lines[i]);
        if (fields.size() != width) {
            lint(TableReading::WrongFieldCount(fields.size(), width));
            continue;
        }
        if (auto row = makeRow(fields, lint))
            table->rows.append(std::move(*row));
    }
    set.table(which) = std::move(table);
    return true;
}
