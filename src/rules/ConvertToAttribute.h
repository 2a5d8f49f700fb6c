#pragma once

#include "core/RuleFileState.h"
#include "core/TableSet.h"

#include <QList>
#include <QString>
#include <optional>

struct ConfigurationLoading;
struct RuleContext;

// One row of the convert-to-attribute table; columns: attribute | value |
// action | expanded text | severity | position code.
struct Convert2AttribRow {
    QString attributeName;
    QString attributeValueUpper; // the value the attribute must have for the row to apply, upper-cased
    ConversionAction action;
    QString expandedText; // what the conversion should have removed or kept
    Severity severity;
    Placement where; // from "S", "E" or "B", compared as written: a lower-case code checks nothing
};

struct Convert2AttribTable : SupportTable {
    QList<Convert2AttribRow> rows;
};

bool LoadConvert2AttribTable(const ConfigurationLoading& loading, TableSet& set);

// The rule's own file state: the dashed text before the tags of each element.
std::unique_ptr<RuleFileState> MakeConvert2AttribFileState();

// Whether the expanded text, letter case ignored, stands first in an
// element's dashed content: its first occurrence has nothing but non-word
// characters before it and no letter or digit right after it. Absent
// (nullopt) when the text does not occur at all.
std::optional<bool> ExpandedTextLeadsContent(const QString& dashedContent, const QString& expanded);

// Text that a conversion was to turn into an attribute value must be gone
// ("DELETE") or still stand ("COPY") right before or right after the tag.
void CONVERT2ATTRIB(RuleContext& rule);
