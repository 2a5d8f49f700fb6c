#pragma once

#include "core/RuleFileState.h"
#include "core/TableSet.h"

#include <QList>
#include <QString>
#include <QStringView>

struct ConfigurationLoading;
struct RuleContext;

// One row of the convert-to-tag table; columns: tag name | action | word |
// severity | position code.
struct Convert2TagRow {
    QString tagName; // compared exactly
    ConversionAction action;
    QString word;
    Severity severity;
    Placement position; // from "S", "E" or "B", any case
};

struct Convert2TagTable : SupportTable {
    QList<Convert2TagRow> rows;
};

bool LoadConvert2TagTable(const ConfigurationLoading& loading, TableSet& set);

// Whether the word occurs in the text as a whole word, letter case ignored:
// no letter or digit right before or right after it. An empty word never does.
bool ContainsWholeWord(QStringView text, const QString& word);

// The run of letters and digits that ends right before `end` (zero-based) in
// the dashed text that starts at `start`. Tags become "-" and only ever end a
// word, and nothing after the last ">" is dashed, so the raw text gives the
// same run.
QString LastWordBefore(QStringView text, qsizetype start, qsizetype end);

// A word that should have become markup must be gone ("DELETE") or still
// stand ("COPY") right before or right after the tag.
void CONVERT2TAG(RuleContext& rule);
// The rule's file state: where the table's words stand in the whole text.
std::unique_ptr<RuleFileState> MakeConvert2TagFileState();
