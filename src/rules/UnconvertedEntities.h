#pragma once

#include "core/RuleFileState.h"
#include "core/TableSet.h"
#include "rules/MultiStringSearch.h"

#include <QList>
#include <QString>
#include <memory>
#include <optional>

struct ConfigurationLoading;
struct RuleContext;

// One row of the unconverted-entity table; columns, split at the first
// blank: search string, message.
struct UnconEntityRow {
    QString searchString; // "<space>" and "<hrt>" already turned into a blank and CR LF
    // From the message's "E /" or "W /" prefix (any case); a row with neither reports nothing.
    std::optional<Severity> severity;
    QString message; // the rest of the message, trimmed
};

struct UnconEntitiesTable : SupportTable {
    QList<UnconEntityRow> rows;
    std::shared_ptr<const MultiStringSearch> search; // every row's string, in row order
};

// The table has no header line and no column separator: the first blank of a
// line ends the search string. An over-long message is shown to the operator
// and the row is kept.
bool LoadUnconEntitiesTable(const ConfigurationLoading& loading, TableSet& set);

// The rule's own file state: the entity search over the whole text, built
// at the file's first element.
std::unique_ptr<RuleFileState> MakeUnconEntitiesFileState();

// Strings of the table found in the plain text (tags removed) of the current
// element, the first occurrence of each row, each reported where it stands in
// the file.
void UNCONENTITIES(RuleContext& rule);
