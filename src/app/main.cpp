#include "app/BatchRun.h"
#include "app/CommandLine.h"
#include "app/HeadlessOperator.h"
#include "app/SingleFileRun.h"
#include "app/gui/FrmMain.h"
#include "app/gui/FrmMultiple.h"
#include "app/gui/WindowOperator.h"
#include "app/modGlobal.h"
#include "core/MoveFiles.h"
#include "core/RunAborted.h"
#include "core/RunState.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <cstdio>
#include <memory>

namespace {

bool displayAvailable()
{
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

QString applicationFolder(const CommandLineOptions& options)
{
    return modMoveFiles::WithTrailingSlash(
        options.appDir.isEmpty() ? QCoreApplication::applicationDirPath() : options.appDir);
}

// Files done out of files found, and the file being validated.
class TerminalBatchProgress : public BatchObserver {
public:
    explicit TerminalBatchProgress(HeadlessOperator& ui)
        : ui_(ui)
    {
    }
    void fileStarted(int number, int total, const QString& inputPath) override
    {
        ui_.setProgressLabel(QStringLiteral("[%1/%2] %3").arg(number - 1).arg(total).arg(inputPath));
    }
    void batchFinished() override { ui_.setProgressLabel(QString()); }

private:
    HeadlessOperator& ui_;
};

int runHeadlessBatch(RunState& state, const CommandLineOptions& options, HeadlessOperator& ui)
{
    BatchCommand command;
    command.folder = *options.batchFolder;
    command.entries = options.entries;
    command.taskCode = options.taskCode;
    command.workPath = options.workPath;
    command.outputPath = options.outputPath;
    TerminalBatchProgress progress(ui);
    try {
        const int status = RunBatchCommand(state, command, progress);
        EndBatchSession(state);
        return status;
    } catch (const RunAborted&) {
        EndBatchSession(state);
        throw;
    }
}

int runHeadless(RunState& state, RunMode mode, const CommandLineOptions& options, HeadlessOperator& ui)
{
    if (options.batchFolder)
        return runHeadlessBatch(state, options, ui);
    if (mode == RunMode::Batch) {
        std::fputs("quorvane: no input file given, and the batch window needs a display.\n"
                   "Give \"INPUT|TASK\" to validate one file, or --batch FOLDER; see quorvane --help.\n",
            stderr);
        return ExitStatus::Refused;
    }
    const int status = RunSingleFile(state);
    // Headless runs often come from scripts and terminals: say where the
    // reports are, since no window shows it.
    std::printf("%s: %d error(s), %d warning(s)\nReports: %s %s\n", qPrintable(state.inputFileName),
        state.report.errorCount, state.report.warningCount, qPrintable(state.report.errorReportPath),
        qPrintable(state.report.warningReportPath));
    return status;
}

int runWindowed(RunState& state, RunMode mode, WindowOperator& windowOperator)
{
    if (mode == RunMode::Batch) {
        FrmMultiple window(state, &windowOperator);
        window.show();
        return QApplication::exec();
    }
    FrmMain window(state, windowOperator);
    window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const CommandLineOptions options = ParseCommandLineOptions(arguments);
    if (!options.error.isEmpty()) {
        std::fprintf(
            stderr, "quorvane: %s\n\n%s", qPrintable(options.error), qPrintable(CommandLineHelpText()));
        return ExitStatus::Refused;
    }
    if (options.showHelp) {
        std::fputs(qPrintable(CommandLineHelpText()), stdout);
        return ExitStatus::Clean;
    }
    if (options.showVersion) {
        std::printf("quorvane %s\n", QUORVANE_VERSION);
        return ExitStatus::Clean;
    }

    // The command-line batch serves scripts and cron: it never opens a window.
    const bool headless = options.headless || options.batchFolder || !displayAvailable();
    std::unique_ptr<QCoreApplication> application;
    if (headless)
        application = std::make_unique<QCoreApplication>(argc, argv);
    else
        application = std::make_unique<QApplication>(argc, argv);

    HeadlessOperator headlessOperator;
    WindowOperator windowOperator;
    OperatorInterface& ui = headless ? static_cast<OperatorInterface&>(headlessOperator) : windowOperator;
    RunState state(ui);
    state.config.ApplicationPath = applicationFolder(options);

    try {
        const RunMode mode = Main(state, options.commandLine);
        return headless ? runHeadless(state, mode, options, headlessOperator)
                        : runWindowed(state, mode, windowOperator);
    } catch (const RunAborted& aborted) {
        return aborted.exitStatus();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "quorvane: unexpected failure: %s\n", failure.what());
        return ExitStatus::Refused;
    }
}
