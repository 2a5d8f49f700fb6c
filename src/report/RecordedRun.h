#pragma once

#include "core/Finding.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <optional>
#include <vector>

struct RunFindings;

// One input file of a run as what the run left tells it.
struct RecordedFile {
    QString inputPath; // the input as the run named it; empty when nothing tells
    QString name; // what a list shows: the input's file name, else the report's base name
    QList<Finding> findings;
};

// The findings of a run read back: from the run itself, from the reports and
// logs it left in a working folder, or from its --json document.
struct RecordedRun {
    std::vector<RecordedFile> files; // in the order the run validated them, when known
    // The fixed reports carry no routine names and cut messages short; the
    // JSON and a run watched from inside have both.
    bool routinesKnown = true;
    QString error; // not empty when nothing could be read
    QStringList notes; // what was read only in part, one line each
    int findingCount() const;
};

// One entry line of an .ERR or .WRN report, in either layout (with or
// without the column); nullopt for headers, rules and totals. The message and
// data are as the report shows them; a line without a column gives column 0.
std::optional<Finding> ParseReportEntry(QStringView line);

// Where to look for an input that the logs of a run do not name (a
// single-file run writes no file paths into its log).
struct InputSearch {
    QString inputFolder; // the configured input path
    QString fileMask; // "|xml|sgm|" as the configuration keeps it; empty: any
};

// Every .ERR and .WRN below the folder, paired into files, with the inputs
// the program logs name ("FilePath", "Input File") matched to them.
RecordedRun ReadWorkingFolder(const QString& folder, const InputSearch& search = {});
// A document that --json wrote.
RecordedRun ReadFindingsJson(const QString& path);
// A folder is a working folder, anything else a JSON document.
RecordedRun ReadRecordedRun(const QString& path, const InputSearch& search = {});
// What a sink collected while the run went on.
RecordedRun RecordedRunOf(const RunFindings& run);
