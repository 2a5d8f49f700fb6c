#pragma once

#include <QString>
#include <QStringList>

struct RunState;

// What --check-config found: one "FILE:LINE: message" (or "FILE: message" for
// a whole file) per problem, in the order the tables are loaded.
struct ConfigCheckResult {
    int exitStatus = 0; // 0 nothing found, 1 problems found, 2 configuration unreadable
    QStringList problems;
};

// Reads Quorvane.INI and loads every support table of the default set and of
// each task (or of the one task given) with the loaders telling what they
// drop, then looks for tables that no run would read. Changes nothing on
// disk but the working folder that reading the configuration makes.
ConfigCheckResult CheckConfiguration(RunState& state, const QString& taskCode);
