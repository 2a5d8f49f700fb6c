#pragma once

#include <QString>
#include <QStringList>

class OperatorInterface;
struct Configuration;

// What --check-config found: one "FILE:LINE: message" (or "FILE: message" for
// a whole file) per problem, in the order the tables are loaded.
struct ConfigCheckResult {
    int exitStatus = 0; // 0 nothing found, 1 problems found, 2 configuration unreadable
    QStringList problems;
    QString refusal; // with status 2: why, when the configuration itself was read
};

// Reads Quorvane.INI and loads every support table of the default set and of
// each task (or of the one task given) with the loaders telling what they
// drop, then looks for tables that no run would read. Last it reads the
// input given (none: the first files below the configured INPUTPATH) for
// elements with routines declared that it only ever writes as empty tags:
// only a start tag starts an element's routines. Changes nothing on disk but
// the working folder that reading the configuration makes. `config` names the
// application folder and is filled from Quorvane.INI; `ui` hears what cannot
// be read at all.
ConfigCheckResult CheckConfiguration(
    OperatorInterface& ui, Configuration& config, const QString& taskCode, const QString& inputPath = {});

// How many files below INPUTPATH the check reads when no input is given: a
// production INPUTPATH may hold a whole archive.
inline constexpr int kCheckedSampleFiles = 100;
