#pragma once

#include "core/TableSet.h"

#include <QList>
#include <QString>
#include <cstdint>

// The configuration record, filled once at start-up from Quorvane.INI.
struct Configuration {
    QString ApplicationPath; // always ends in "/"
    QString WorkPath;
    QString InputPath;
    QString ImagePath;
    QString OutputPath;
    QString TempPath; // as configured; a run works in a subfolder it claims (TempFolderClaim)
    QString CreateLogFolder;
    QString InputType;
    QString EditorProgram;
    QString KlmxIniFile;
    bool XYCoordinates = false;
    QString ImageFolder; // ends with "/" when given; the image checks read it
    QString InputFileMask; // stored as "|" + value + "|"
    bool Utf8Input = false;
    QString MainLexPath;
    QString UserLexPath;
    QString MainLexFiles;

    TableSet DefaultTableSet;
    QList<TaskTableSet> Tasks; // zero-based here; the file's first task is Tasks[0]
};
