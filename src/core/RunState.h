#pragma once

#include "core/Configuration.h"
#include "core/Finding.h"
#include "core/ImageCallouts.h"
#include "core/OperatorInterface.h"
#include "core/ReportState.h"
#include "core/RuleFileState.h"
#include "core/SpellingEngine.h"
#include "core/TableLint.h"
#include "core/ToolkitState.h"
#include "core/ValidationContext.h"

#include <QHash>
#include <QList>
#include <QLockFile>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <memory>
#include <vector>

// The one process-wide run state, made in main() and handed by reference to
// every procedure. Nothing else holds state between calls.
struct RunState {
    explicit RunState(OperatorInterface& operatorInterface)
        : ui(operatorInterface)
    {
    }
    RunState(const RunState&) = delete;
    RunState& operator=(const RunState&) = delete;

    OperatorInterface& ui;
    Configuration config;
    QString programName = QStringLiteral("quorvane"); // names the program logs

    // Run fields of start-up and the run windows.
    QString inputPath;
    QString inputFileName;
    QString taskCode;
    bool batchMode = false;
    QString parentFolderPart;
    QString outputFolder;
    QString currentInputPath;
    QString reportFolder; // where the reports go; ends with "/"

    // The document being validated: the whole text, decoded once, and the
    // start offset of every line (lines are split at CR LF only).
    QString wholeText;
    std::vector<std::int32_t> lineStarts;
    int lineCount() const { return static_cast<int>(lineStarts.size()); }
    QStringView line(int index) const;

    ToolkitState toolkit; // the values every TagScanner view of this run shares

    // Validation state of the driver.
    ValidationContext context;
    ValidationContext previousTag;
    ValidationContext previousStartTag;
    QList<ValidationContext> openTags; // oldest first; kept from one file to the next
    QHash<QString, int>
        openTagNames; // how many of openTags carry each name: an end tag of none scans nothing
    QList<std::int32_t> rowStack { 0 }; // element 0 is the base entry
    std::int32_t currentRow = 0;
    QString contextElement;
    // Upper-cased at loading; a view of the declaration table's text, set by
    // the dispatcher before every routine call.
    QStringView routineParameter;
    // The same parameter read as a severity at loading, for the routines
    // whose parameter is one.
    Severity parameterSeverity = Severity::Warning;
    // The routine or check running now; names its findings. A view of the
    // registry's name, so the dispatcher copies nothing per call.
    QLatin1StringView currentRoutine;
    RuleFileStates ruleStates; // per file; cleared with the other per-file state
    // What rules carry from file to file; never cleared within a run.
    RuleRunStates carriedStates;
    // The running routine's own file state and carried state, set by the
    // dispatcher; null for a routine whose entry names none.
    RuleFileState* ownFileState = nullptr;
    RuleRunState* ownRunState = nullptr;

    SpellingState spelling; // the engine lives for the whole process
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
    // The fixed reports, which hear every finding first; set by the report
    // writer when it opens reports or logs.
    FindingReceiver* findingReceiver = nullptr;
    // Set only by the configuration check: loaders tell it what they drop.
    TableLint* tableLint = nullptr;
};

inline QStringView RunState::line(int index) const
{
    const qsizetype start = lineStarts[index];
    const qsizetype end = index + 1 < lineCount() ? lineStarts[index + 1] - 2 : wholeText.size();
    return QStringView(wholeText).sliced(start, end - start);
}
