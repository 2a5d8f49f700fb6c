#pragma once

#include "core/TableSet.h"
#include "core/ValidationContext.h"

#include <QList>
#include <QString>

struct ConfigurationLoading;
struct RuleContext;

// One entry of a no-hard-return group: an element that must hold no hard
// return inside the group's enclosing element. The table's columns:
// enclosing tag | element tag | severity.
struct NoHrtEntry {
    QString elementName;
    Severity severity;
};

// Consecutive table lines with the same first column.
struct NoHrtGroup {
    QString enclosingName;
    QList<NoHrtEntry> entries;
};

struct NoHrtTable : SupportTable {
    QList<NoHrtGroup> groups;
};

// One with-hard-return row; columns: tag | position code | severity. The
// tag kind keeps the start, end and empty tag of one name apart.
struct WithHrtRow {
    QString tag; // as written
    QString tagName;
    TagKind tagKind = TagKind::None;
    Placement placement; // from "S", "E" or "B", any case
    Severity severity;
};

struct WithHrtTable : SupportTable {
    QList<WithHrtRow> rows;
};

bool LoadNoHrtTable(const ConfigurationLoading& loading, TableSet& set);
bool LoadWithHrtTable(const ConfigurationLoading& loading, TableSet& set);

// Whole-file check: no more consecutive hard returns (line breaks or HRT
// marker tags) than the configured count.
void CheckMultipleHardReturns(RuleContext& rule);

// A tag of the table must have a hard return before it, after it, or both.
void WITHHRT(RuleContext& rule);

// Inside an enclosing element of the table, a listed element holds no line
// break, and no HRT marker stands inside a listed element.
void NOHRT(RuleContext& rule);
