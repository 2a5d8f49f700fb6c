#pragma once

#include "core/TableSet.h"
#include "engine/RegExp.h"
#include "rules/ContentScan.h"

#include <QList>
#include <QString>
#include <QStringView>
#include <optional>

struct ConfigurationLoading;

// An opening and a closing string that must pair up in an element's text:
// "(" ")", "“" "”", or markup such as "<b>" "</b>". Strings that begin with
// "<" are looked for among the tags; any other string only in the text
// between tags, so an attribute value holding a bracket does not count.
struct PairStrings {
    QString opening;
    QString closing;
    bool isMarkup() const { return opening.startsWith(u'<') || closing.startsWith(u'<'); }
};

// One row of the pair table.
struct PairRow {
    TagSelector tag;
    PairStrings pair;
    bool error = false;
    QString message;
};

struct PairTable : SupportTable {
    QList<PairRow> rows;
};

// One row of the pair-content table: what must stand between a pair.
struct PairContentRow {
    TagSelector tag;
    PairStrings pair;
    RegExp pattern;
    bool error = false;
    QString message;
};

struct PairContentTable : SupportTable {
    QList<PairContentRow> rows;
};

bool LoadPairTable(const ConfigurationLoading& loading, TableSet& set);
bool LoadPairContentTable(const ConfigurationLoading& loading, TableSet& set);

// What one pass over a text finds of some pairs (indices into the list
// given): strings that do not pair up, and the outermost pairs of each kind.
struct PairScan {
    struct Unbalanced {
        int pair;
        qsizetype offset;
        bool opening; // an opening never closed, else a closing with no opening
    };
    struct Span {
        int pair;
        qsizetype opening; // offset of the opening string
        qsizetype closing; // offset of the closing string
    };
    QList<Unbalanced> unbalanced; // in text order
    QList<Span> outermost; // pairs inside another of the same kind are part of it
};

// Pairs nest: a closing string ends the innermost open pair of its kind, and
// every pair opened after it and not yet closed stays unclosed. A pair whose
// two strings are the same closes when it is the innermost open pair, and
// opens otherwise.
PairScan ScanPairs(QStringView text, const QList<PairStrings>& pairs);

// In an element's text the pairs must nest and balance.
void CHECKPAIRVALIDITY(RuleContext& rule);

// The text between each pair must match the row's pattern.
void CHECKPAIRCONTVALIDITY(RuleContext& rule);
// The rule family's file state, for its registry entries.
std::unique_ptr<RuleFileState> MakePairFileState();
