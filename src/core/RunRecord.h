#pragma once

#include "core/Finding.h"
#include "core/LoadedInstallation.h"
#include "core/OperatorInterface.h"
#include "core/ReportState.h"
#include "core/RuleFileState.h"
#include "core/SpellingEngine.h"
#include "core/TableLint.h"
#include "core/TempFolderClaim.h"

#include <QString>
#include <cstdint>
#include <memory>
#include <stdexcept>

struct RunRecord;

// The run as the engine's finding receiver: every finding goes to the run's
// sinks in subscription order, the fixed reports first once they are open.
// A finding before they are would leave a run that looks clean, so it fails.
class RunReceiver : public FindingReceiver {
public:
    explicit RunReceiver(RunRecord& run)
        : run_(run)
    {
    }
    void fileFinding(const Finding& finding) override;
    void runFinding(const Finding& finding) override;
    // The failure is told, naming the file, the routine and the reason, and
    // counted, so that the run ends with status 2 instead of looking clean;
    // the file's reports say that its check did not finish.
    void checkEnded(const QString& routine, const QString& reason) override;

private:
    void refuseUnopened() const;
    RunRecord& run_;
};

// What one run keeps from its start to its end, apart from the file being
// checked: who watches it, the installation it reads, its paths and outputs,
// the lock of its temporary folder, its sinks, what rules carry from file to
// file and its failures. A batch worker has one of its own over the run's
// installation.
struct RunRecord {
    // The installation is read, never written, by the run; a batch worker's
    // run shares the one of the run it works for.
    RunRecord(OperatorInterface& operatorInterface, std::shared_ptr<const LoadedInstallation> shared)
        : ui(operatorInterface)
        , installation(std::move(shared))
        , config(installation->config)
        , programName(installation->programName)
    {
    }
    RunRecord(const RunRecord&) = delete;
    RunRecord& operator=(const RunRecord&) = delete;

    OperatorInterface& ui;
    std::shared_ptr<const LoadedInstallation> installation;
    // The installation's configuration and program name under their own
    // names, for the code that reads them.
    const Configuration& config;
    const QString& programName; // names the program logs

    // Run fields of start-up and the run windows.
    QString inputPath;
    QString inputFileName;
    QString taskCode;
    bool batchMode = false;
    QString parentFolderPart;
    QString outputFolder;
    QString currentInputPath;
    QString reportFolder; // where the reports go; ends with "/"
    // The run's working and output folders: the configured WORKPATH and
    // OUTPUTPATH, or the folders a batch was given (the window's next batch
    // may be given others). Both end with "/".
    QString workPath;
    QString outputPath;
    // The tables and settings this run's task reads: the default set overlaid
    // with the task's own, chosen when the run (or the window's batch) starts.
    TableSet activeTables;

    // What rules carry from file to file; never cleared within a run.
    RuleRunStates carriedStates;

    ReportState report;
    // Checks of this run that ended early on a failure. A run with any cannot
    // pass for checked, whatever its reports say.
    int checkFailures = 0;

    // The temporary folder while this run uses it; released when the run ends.
    TempFolderClaim tempFolder;
    // Seconds an outside program may run before it is stopped; 0 waits for ever.
    int pluginTimeoutSeconds = 0;
    FindingSinks findingSinks; // outputs beside the fixed reports
    // The fixed reports (.ERR, .WRN, editor files, program logs) as a sink,
    // subscribed first; made by the report writer when it opens a file's
    // reports or the run's logs.
    std::unique_ptr<FindingSink> fixedReports;

    // Where the engine's findings go.
    FindingReceiver& receiver() { return findings_; }

private:
    RunReceiver findings_ { *this };
};

inline void RunReceiver::refuseUnopened() const
{
    if (!run_.fixedReports)
        throw std::logic_error("a finding was reported before the reports were opened");
}

inline void RunReceiver::fileFinding(const Finding& finding)
{
    refuseUnopened();
    run_.findingSinks.publish(finding);
}

inline void RunReceiver::runFinding(const Finding& finding)
{
    refuseUnopened();
    run_.findingSinks.publish(finding);
}

inline void RunReceiver::checkEnded(const QString& routine, const QString& reason)
{
    refuseUnopened();
    ++run_.checkFailures;
    run_.ui.diagnostic(
        QStringLiteral("%1: %2 ended early: %3")
            .arg(run_.inputFileName.isEmpty() ? run_.inputPath : run_.inputFileName, routine, reason));
    run_.report.noteCheckNotFinished(routine, reason);
}
