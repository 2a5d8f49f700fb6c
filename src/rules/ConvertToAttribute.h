#pragma once

#include "core/TableSet.h"

#include <QList>
#include <QString>
#include <optional>

struct RunState;

// One row of the convert-to-attribute table.
struct Convert2AttribRow {
    QString attributeName;
    QString attributeValue; // the value the attribute must have for the row to apply
    QString attributeValueUpper; // the same, upper-cased once at loading
    QString action; // "DELETE" or "COPY"
    QString actionUpper; // the same, upper-cased once at loading
    QString expandedText; // what the conversion should have removed or kept
    QString severity; // "E" gives an error
    QString where; // "S" before the tag, "E" after it, "B" both
};

struct Convert2AttribTable : SupportTable {
    QList<Convert2AttribRow> rows;
};

bool LoadConvert2AttribTable(RunState& state, TableSet& set);

// Whether the expanded text, letter case ignored, stands first in an
// element's dashed content: its first occurrence has nothing but non-word
// characters before it and no letter or digit right after it. Absent
// (nullopt) when the text does not occur at all.
std::optional<bool> ExpandedTextLeadsContent(const QString& dashedContent, const QString& expanded);

// Text that a conversion was to turn into an attribute value must be gone
// ("DELETE") or still stand ("COPY") right before or right after the tag.
void CONVERT2ATTRIB(RunState& state);
