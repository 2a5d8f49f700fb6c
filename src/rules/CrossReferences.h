#pragma once

#include "core/TableSet.h"
#include "engine/RegExp.h"
#include "rules/ContentScan.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <optional>

struct ConfigurationLoading;
struct RuleContext;

// One row of the citation table: which tags cite, and where their numbers
// stand.
struct CitationRow {
    TagSelector tag;
    QString attribute; // empty: the numbers stand in the element's text
    std::optional<RegExp> pattern; // the numbers are read from its matches (group 1 when it has one)
    bool error = false;
    QString message;
};

struct CitationTable : SupportTable {
    QList<CitationRow> rows;
};

bool LoadCitationTable(const ConfigurationLoading& loading, TableSet& set);

// A number or a range of numbers as written in a citation ("3", "3-5",
// "b3–b5"), at its offset in the text read.
struct CitedRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    qsizetype offset = 0;
    bool operator==(const CitedRange&) const = default;
};

// The numbers of a citation text in the order written: lists are separated
// by anything that is not a digit; a dash ("-", en dash) between two numbers
// makes a range, letters before the second number allowed ("b3-b5").
QList<CitedRange> CitedNumbers(QStringView text);

// The order in which one kind of citation first mentions its numbers.
class CitationOrder {
public:
    // The number that had to come next when this range's first number jumps
    // ahead of every number mentioned so far plus one; nothing when in order.
    std::optional<std::int64_t> cite(const CitedRange& range);

private:
    std::int64_t highest_ = -1; // -1: the file has cited nothing yet
};

// Numbered citations must first appear in order.
void CITATIONVALIDITY(RuleContext& rule);

// One row of the count-reference table: a referring tag and attribute, a
// target tag and attribute, and whether targets must be referred to.
struct CountRefRow {
    QString referringField; // as written, so that rows naming the same tag share it
    QString referringAttribute;
    QString targetField;
    QString targetAttribute;
    bool reportUncited = false;
    bool error = false;
};

struct CountRefTable : SupportTable {
    QList<CountRefRow> rows;
};

bool LoadCountRefTable(const ConfigurationLoading& loading, TableSet& set);

// What one file refers to and what it defines, gathered tag by tag and
// judged once the file has ended, because a target may follow its reference.
class ReferenceLedger {
public:
    explicit ReferenceLedger(const QList<CountRefRow>& rows);
    // Notes the ids that a start or empty tag at `offset` refers to or defines.
    void noteTag(const QString& tagName, QStringView tagText, qsizetype offset);
    // References to no target, targets defined twice and, where a row asks,
    // targets never referred to, in file order.
    QList<PlacedFinding> findings() const;

private:
    struct Id {
        QString id;
        qsizetype offset;
    };
    struct Referrer {
        TagSelector tag;
        QString attribute;
        QList<int> targets;
        bool error = false;
        QList<Id> references;
    };
    struct Target {
        TagSelector tag;
        QString attribute;
        bool reportUncited = false;
        bool error = false;
        QList<Id> defined; // first definitions, in file order
        QList<Id> duplicates;
        QSet<QString> ids;
    };
    template <class Side>
    static int indexOf(QList<Side>& sides, const QString& field, const QString& attribute);
    QString targetNames(const Referrer& referrer) const;

    QList<Referrer> referrers_;
    QList<Target> targets_;
};

// Every id referred to exists on a target; where a row asks, every target
// is referred to. Gathers while the file is scanned ...
void CHECKCOUNTREFVALIDITY(RuleContext& rule);
// ... and reports once it has ended.
void ReportCountRefsAtFileEnd(RuleContext& rule);
// The rule family's file state, for its registry entries.
std::unique_ptr<RuleFileState> MakeCrossReferenceFileState();
