#pragma once

#include <QFile>
#include <QList>
#include <QString>

#include <cstdint>
#include <memory>

// One warning as the editor file lists it.
struct WarningRecord {
    QString lineField;
    QString messageField;
    QString dataField;
};

// What the report writer keeps between its calls.
struct ReportState {
    QString baseName;        // input file name without its last extension
    QString extension;       // that extension with its ".", empty when none
    QString errorReportPath;
    QString warningReportPath;
    std::int32_t errorCount = 0;    // entries written for this file
    std::int32_t warningCount = 0;
    QString plainEntryText;
    QString columnEntryText;
    QList<WarningRecord> warningList;  // zero-based here; the original leaves entry 0 unused

    std::unique_ptr<QFile> errorReport;
    std::unique_ptr<QFile> warningReport;
    std::unique_ptr<QFile> programLog;
    std::unique_ptr<QFile> errorViewLog;

    std::int64_t runErrorEntries = 0;  // error entries of the whole run: feeds the exit status
};
