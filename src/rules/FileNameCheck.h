#pragma once

#include "core/Finding.h"
#include "core/TableSet.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <utility>
#include <vector>

struct ConfigurationLoading;
struct RuleContext;

// One row of the file-name table: a pattern the input file's base name may
// match as a whole, whether letter case counts, and what the pattern stands
// for in a finding.
struct FileNameRow {
    QString pattern;
    QString caseCode; // "I" ignores letter case; anything else respects it
    QString description;
};

struct FileNameTable : SupportTable {
    QList<FileNameRow> rows;
};

bool LoadFileNameTable(const ConfigurationLoading& loading, TableSet& set);

// The characters a VALIDFILENAMECHAR or INVALIDFILENAMECHARS list names.
// A piece is one character, a range such as "a-z", or, written otherwise,
// each of its characters; "<space>" and "<pipe>" stand for a blank and "|".
class FileNameCharacters {
public:
    explicit FileNameCharacters(const QStringList& pieces);
    bool isEmpty() const { return ranges_.empty(); }
    bool contains(QChar c) const;
    // Pieces that are neither one character nor a range in order ("z-a",
    // "abc"), for the configuration check.
    QStringList oddPieces() const { return oddPieces_; }

private:
    std::vector<std::pair<char16_t, char16_t>> ranges_;
    QStringList oddPieces_;
};

// Every character of the name that the invalid list names or the valid
// list (when it names any) leaves out: one finding per character, at its
// first position.
std::vector<Finding> CheckFileNameCharacters(
    const QString& fileName, const FileNameCharacters& valid, const FileNameCharacters& invalid);

// A finding when the table has rows and the base name matches none of their
// patterns. Throws PatternError for a pattern the engine rejects.
std::vector<Finding> CheckFileNamePatterns(const QString& fileName, const QList<FileNameRow>& rows);

// For the configuration check: pieces of the character lists of an active
// set with the check on that are neither one character nor a range.
QStringList FileNameSetupProblems(const TableSet& active);

// The whole-file check, with CHECKFILENAME on: the input file's name against
// the character lists and the file-name table.
void CheckFileName(RuleContext& context);
