#pragma once

#include "config/SupportTables.h"
#include "engine/Dispatch.h"

#include <QJsonObject>
#include <QList>
#include <QString>

// Every validation routine and whole-file check of the program, with the
// support table each reads and that table's loader. Adding a routine is its
// rule file plus one entry in RuleRegistry.cpp.
const RuleBook& Rules();

// The routine an upper-cased name of the declaration table stands for; null
// for a name that is no routine.
const RuleEntry* RoutineNamed(const QString& upperName);

// The loader of every support table, in loading order: the routine
// declaration table's own, else the loader of the first rule that reads the
// table.
QList<TableLoaderEntry> SupportTableLoaders();

// What rules carry through a run, as a batch split over processes keeps it
// for the join: each state that says how it is written, by the name of the
// first entry that makes it.
QJsonObject SavedRunStates(const RuleRunStates& carried);
// Takes in one slice's saved states after those of the slices before it.
// False when a state there cannot be read back.
bool TakeInSavedRunStates(const QJsonObject& saved, RuleRunStates& carried);
