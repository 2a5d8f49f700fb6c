#pragma once

#include "config/SupportTables.h"
#include "engine/Dispatch.h"

#include <QList>
#include <QString>

// Every validation routine and whole-file check of the program, with the
// support table each reads and that table's loader. Adding a routine is its
// rule file plus one entry in RuleRegistry.cpp.
const RuleBook& Rules();

// Whether an upper-cased name is a routine the declaration table may name.
bool IsRoutineName(const QString& upperName);

// The loader of every support table, in loading order: the routine
// declaration table's own, else the loader of the first rule that reads the
// table.
QList<TableLoaderEntry> SupportTableLoaders();
