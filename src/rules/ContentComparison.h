#pragma once

#include "core/TableSet.h"
#include "rules/ContentScan.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringView>

struct ConfigurationLoading;
struct RuleContext;

// How the text of two elements must agree.
enum class Comparison { Equal, EqualIgnoringCase, BeginsWith, Differs };

// One row of the content-comparison table: the k-th occurrence of the first
// element is compared with the k-th of the second.
struct CompContRow {
    TagSelector first;
    TagSelector second;
    Comparison comparison = Comparison::Equal;
    bool error = false;
    QString message;
};

struct CompContTable : SupportTable {
    QList<CompContRow> rows;
};

bool LoadCompContTable(const ConfigurationLoading& loading, TableSet& set);

// Whether the texts (tags removed, blanks folded) agree as the comparison asks.
bool ContentsAgree(Comparison comparison, QStringView first, QStringView second);

// Two elements must agree.
void COMPCONT(RuleContext& rule);
// Occurrences left without a partner once the file has ended.
void ReportCompContAtFileEnd(RuleContext& rule);
// The rule family's file state, for its registry entries.
std::unique_ptr<RuleFileState> MakeComparisonFileState();

// One row of the PCDATA comparison table: the element's text must be one of
// the allowed values.
struct PcDataRow {
    TagSelector tag;
    QSet<QString> values;
    bool error = false;
    QString message;
};

struct PcDataTable : SupportTable {
    QList<PcDataRow> rows;
};

// Values are written inline, separated by ";", or as "@" and the name of a
// file that holds one value a line (a relative name is found beside the
// table). A values file that cannot be read fails the loading as the table
// itself would.
bool LoadPcDataTable(const ConfigurationLoading& loading, TableSet& set);

// An element's text, tags removed and trimmed, must be one of a list.
void PCPDATACOMPARE(RuleContext& rule);
