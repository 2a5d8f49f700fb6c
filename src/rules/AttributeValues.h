#pragma once

#include "core/TableSet.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

struct ConfigurationLoading;
struct RuleContext;

// One row of the no-leading-zero table; columns: tag | attribute | delimiters.
struct NoLeadZeroRow {
    QString tagName;
    QString attributeName;
    // Delimiters by slot: the piece at position k of the "#&" list sits in
    // slot k even when an earlier piece is empty; trailing empty pieces leave
    // no slot.
    QStringList delimiters;
};

struct NoLeadZeroTable : SupportTable {
    QList<NoLeadZeroRow> rows;
    QSet<QString> tagNames; // the tag of every row
};

// One row of the attribute string table; columns: tag | attribute | search
// string | message.
struct AttribUnconRow {
    QString tagName;
    QString attributeName;
    QString searchString;
    Severity severity; // from the message's first three characters: "E /" (any case) an error
    QString message; // the rest of the message, trimmed
};

struct AttribUnconTable : SupportTable {
    QList<AttribUnconRow> rows;
    QSet<QString> tagNames;
};

// The delimiter slots of a no-leading-zero row's third column.
QStringList ParseLeadZeroDelimiters(const QString& field);

bool LoadNoLeadZeroTable(const ConfigurationLoading& loading, TableSet& set);
bool LoadAttribUnconTable(const ConfigurationLoading& loading, TableSet& set);

// A numeric attribute value must not begin with "0" nor hold "0" right
// behind one of the row's delimiters.
void NOLEADZERO(RuleContext& rule);
// An attribute value must not hold a listed string (an unconverted entity).
void ATTRIBUNCONENTITY(RuleContext& rule);
// A number attribute holding several values needs range="Y".
void ATTRIBRANGEVALIDITY(RuleContext& rule);
// range="Y" needs a number attribute holding several values.
void ATTRIBNUMBERVALIDITY(RuleContext& rule);
