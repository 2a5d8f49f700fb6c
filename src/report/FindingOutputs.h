#pragma once

#include "core/Finding.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <vector>

// One input file of a run with everything found in it, in report order.
struct FileFindings {
    QString path; // as the run named it; empty for findings outside any file
    QList<Finding> findings;
    int errors = 0;
    int warnings = 0;
    // Why the file failed (its check did not finish, an output of it could
    // not be written); empty for a file checked whole.
    QStringList failures {};
};

// A whole run as the machine-readable outputs describe it.
struct RunFindings {
    QString toolName;
    QString toolVersion;
    QString taskCode;
    QDateTime startTime;
    QDateTime endTime;
    std::vector<FileFindings> files; // in the order they were validated
    int errors() const;
    int warnings() const;
};

// The run as one JSON document: tool, times, task code, and per file its
// counts, findings and whether it failed (with why).
QByteArray FindingsJson(const RunFindings& run);
// The run that FindingsJson wrote, read back (counts and run totals are
// recomputed from the findings); false when the document is not one.
bool FindingsFromJson(const QJsonObject& document, RunFindings& run);
// The run as a SARIF 2.1.0 log with one run, one rule per routine name; a
// failed file makes the execution unsuccessful, with a notification each.
QByteArray FindingsSarif(const RunFindings& run);
// A self-contained page for a browser: the files with their counts in a
// sortable table, a bar chart of findings per routine, every file's findings.
QByteArray FindingsHtml(const RunFindings& run);

// Where the outputs go; an empty path asks for none of that kind.
struct FindingOutputPaths {
    QString json;
    QString sarif;
    QString html;
    bool any() const { return !json.isEmpty() || !sarif.isEmpty() || !html.isEmpty(); }
};

// Collects every run it watches and writes the outputs asked for when the run
// ends. Each run (a single file, or each batch PROCESS) starts afresh and
// replaces the files of the run before.
class FindingOutputs : public FindingSink {
public:
    FindingOutputs(QString toolName, QString toolVersion, FindingOutputPaths paths);

    void onRunStarted(const QString& taskCode, const QDateTime& startTime) override;
    void onFileStarted(const QString& inputPath) override;
    void onFinding(const Finding& finding) override;
    void onFileFailed(const QStringList& reasons) override;
    void onFileEnded() override;
    void onRunEnded(const QDateTime& endTime, bool completed) override;

    // Removes the files of the outputs asked for, left by an earlier run,
    // all but the file `keep` names (when it is one of them).
    void removeFiles(const QString& keep) const;

    const RunFindings& run() const { return run_; }
    // "path: reason" for every output the last run could not write.
    const QStringList& failures() const { return failures_; }

private:
    FileFindings& current();

    FindingOutputPaths paths_;
    RunFindings run_;
    bool inFile_ = false;
    QStringList failures_;
};
