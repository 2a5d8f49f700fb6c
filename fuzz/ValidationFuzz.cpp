#include "FuzzSupport.h"
#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "app/Startup.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "core/RunAborted.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/RuleRegistry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

// Whole-file validation on the sample installation's tables, every routine
// that has a check declared as in examples/: any input is validated or
// refused, never a crash, a sanitizer report or a hang.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static QTemporaryDir work;
    static SilentOperator ui;
    static RunState* state = [] {
        // The sample installation names its folders relative to the repository root.
        QDir::setCurrent(QStringLiteral(QUORVANE_SOURCE_DIR));
        auto* made = new RunState(ui);
        made->ownInstallation().config.ApplicationPath = QStringLiteral(QUORVANE_SOURCE_DIR "/examples/");
        Main(*made, QString()); // start-up as the batch does it: configuration, engine, tables
        made->activeTables = TableSetForTask(ui, made->config, QStringLiteral("JRNL"));
        made->reportFolder = work.path() + '/';
        made->outputFolder = work.path() + '/';
        return made;
    }();
    QFile input(work.path() + "/input.xml");
    input.open(QIODevice::WriteOnly | QIODevice::Truncate);
    input.write(FuzzBytes(data, size));
    input.close();
    state->inputPath = input.fileName();
    try {
        OpenReports(*state);
        ValidateRunFile(*state, Rules());
        CloseReports(*state);
    } catch (const RunAborted&) {
        DiscardReports(*state);
    }
    return 0;
}
