#pragma once

#include "core/TableSet.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

struct RunState;

// One row of the no-leading-zero table.
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
    QString tagIndex; // "[tag]" of every row, in row order
    QSet<QString> tagNames; // the same names, for a test without building "[tag]"
};

// One row of the attribute string table.
struct AttribUnconRow {
    QString tagName;
    QString attributeName;
    QString searchString;
    QString message; // its first three characters are the severity marker
};

struct AttribUnconTable : SupportTable {
    QList<AttribUnconRow> rows;
    QString tagIndex;
    QSet<QString> tagNames;
};

// The delimiter slots of a no-leading-zero row's third column.
QStringList ParseLeadZeroDelimiters(const QString& field);

bool LoadNoLeadZeroTable(RunState& state, TableSet& set);
bool LoadAttribUnconTable(RunState& state, TableSet& set);

// A numeric attribute value must not begin with "0" nor hold "0" right
// behind one of the row's delimiters.
void NOLEADZERO(RunState& state);
// An attribute value must not hold a listed string (an unconverted entity).
void ATTRIBUNCONENTITY(RunState& state);
// A number attribute holding several values needs range="Y".
void ATTRIBRANGEVALIDITY(RunState& state);
// range="Y" needs a number attribute holding several values.
void ATTRIBNUMBERVALIDITY(RunState& state);
