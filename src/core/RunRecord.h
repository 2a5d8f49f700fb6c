#pragma once

#include "core/Finding.h"
#include "core/ImageCallouts.h"
#include "core/LoadedInstallation.h"
#include "core/OperatorInterface.h"
#include "core/ReportState.h"
#include "core/RuleFileState.h"
#include "core/SpellingEngine.h"
#include "core/TableLint.h"

#include <QLockFile>
#include <QString>
#include <cstdint>
#include <memory>
#include <stdexcept>

// What one run keeps from its start to its end, apart from the file being
// checked: who watches it, the installation it reads, its paths and outputs,
// the lock of its temporary folder, its sinks, what rules carry from file to
// file and its failures. A batch worker has one of its own over the run's
// installation.
struct RunRecord {
    explicit RunRecord(OperatorInterface& operatorInterface)
        : RunRecord(operatorInterface, std::make_shared<LoadedInstallation>())
    {
    }
    // A run over an installation that other runs share, such as a batch
    // worker's over the run's own.
    RunRecord(OperatorInterface& operatorInterface, std::shared_ptr<LoadedInstallation> shared)
        : ui(operatorInterface)
        , installation(std::move(shared))
        , config(installation->config)
        , programName(installation->programName)
    {
    }
    RunRecord(const RunRecord&) = delete;
    RunRecord& operator=(const RunRecord&) = delete;

    OperatorInterface& ui;
    std::shared_ptr<LoadedInstallation> installation;
    // The installation's configuration and program name under their own
    // names, for start-up, which fills them, and the code that reads them.
    Configuration& config;
    QString& programName; // names the program logs

    // Run fields of start-up and the run windows.
    QString inputPath;
    QString inputFileName;
    QString taskCode;
    bool batchMode = false;
    QString parentFolderPart;
    QString outputFolder;
    QString currentInputPath;
    QString reportFolder; // where the reports go; ends with "/"

    // What rules carry from file to file; never cleared within a run.
    RuleRunStates carriedStates;
    ImageCallouts imageCallouts; // per run: cleared when a run starts, read after its last file

    ReportState report;
    // Checks of this run that ended early on a failure. A run with any cannot
    // pass for checked, whatever its reports say.
    int checkFailures = 0;

    // Held while this run uses its temporary folder; released when the run ends.
    std::unique_ptr<QLockFile> tempFolderLock;
    // Seconds an outside program may run before it is stopped; 0 waits for ever.
    int pluginTimeoutSeconds = 0;
    FindingSinks findingSinks; // outputs beside the fixed reports
    // The fixed reports, which hear every finding first; made by the report
    // writer when it opens reports or logs.
    std::unique_ptr<FindingReceiver> findingReceiver;
    // Set only by the configuration check: loaders tell it what they drop.
    TableLint* tableLint = nullptr;

    // Where the engine's findings go: the fixed reports once they are open.
    // A finding before that would leave a run that looks clean, so it fails.
    FindingReceiver& receiver();
};

inline FindingReceiver& RunRecord::receiver()
{
    class Unopened : public FindingReceiver {
    public:
        void fileFinding(const Finding&) override { refuse(); }
        void runFinding(const Finding&) override { refuse(); }
        void checkEnded(const QString&, const QString&) override { refuse(); }

    private:
        [[noreturn]] static void refuse()
        {
            throw std::logic_error("a finding was reported before the reports were opened");
        }
    };
    static Unopened unopened;
    return findingReceiver ? *findingReceiver : unopened;
}
