#include "app/BatchRun.h"
#include "app/CheckConfig.h"
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
#include "report/FindingOutputs.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

bool displayAvailable()
{
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

bool waylandSocketOpens()
{
    QString socket = qEnvironmentVariable("WAYLAND_DISPLAY");
    if (socket.isEmpty())
        return false;
    if (!socket.startsWith(QLatin1Char('/')))
        socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + QLatin1Char('/') + socket;
    const QByteArray path = QFile::encodeName(socket);
    sockaddr_un address {};
    if (path.size() >= qsizetype(sizeof(address.sun_path)))
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), path.size());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const bool opened = fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    if (fd >= 0)
        ::close(fd);
    return opened;
}

// Qt ends the process when its platform cannot open the display it was told
// about; finding out first lets the run fall back to headless instead.
bool displayOpens()
{
    // A platform the user chose is the user's to answer for.
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        return true;
    if (qEnvironmentVariableIsSet("DISPLAY")) {
        xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
        const bool opened = xcb_connection_has_error(connection) == 0;
        xcb_disconnect(connection);
        if (opened)
            return true;
    }
    return waylandSocketOpens();
}

// Qt's platform plugins talk to developers ("XDG_RUNTIME_DIR not set",
// "propagateSizeHints"); operators only need the program's own messages.
void quietQtMessages(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const bool platformNoise = (context.category && std::strncmp(context.category, "qt.", 3) == 0)
        || message.contains(QLatin1String("XDG_RUNTIME_DIR"))
        || message.contains(QLatin1String("propagateSizeHints"));
    if (type < QtCriticalMsg && platformNoise)
        return;
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(message));
}

// Scripts and terminals see no window: say what the run found and where the
// reports are.
void printSummary(const RunState& state)
{
    std::printf("%s: %d error(s), %d warning(s)\nReports: %s %s\n", qPrintable(state.inputFileName),
        state.report.errorCount, state.report.warningCount, qPrintable(state.report.errorReportPath),
        qPrintable(state.report.warningReportPath));
    std::fflush(stdout);
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
    command.taskCode = options.task;
    command.workPath = options.workPath;
    command.outputPath = options.outputPath;
    command.jobs = options.jobs;
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
    printSummary(state);
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
    const int status = QApplication::exec();
    // Started from a terminal, the window run answers the shell too.
    if (status != ExitStatus::Refused && isatty(STDOUT_FILENO))
        printSummary(state);
    return status;
}

// The lint of --check-config: problems on standard output, one a line, so
// scripts can read them; a one-line verdict on standard error.
int runCheckConfig(int argc, char** argv, const CommandLineOptions& options)
{
    QCoreApplication application(argc, argv);
    HeadlessOperator ui;
    RunState state(ui);
    state.config.ApplicationPath = applicationFolder(options);
    try {
        const ConfigCheckResult result = CheckConfiguration(state, options.task);
        for (const QString& problem : result.problems)
            std::printf("%s\n", qPrintable(problem));
        std::fflush(stdout);
        if (result.exitStatus == 2)
            std::fputs("quorvane: the configuration cannot be read\n", stderr);
        else if (result.problems.isEmpty())
            std::fputs("quorvane: no problems found\n", stderr);
        else
            std::fprintf(stderr, "quorvane: %lld problem(s) found\n", qlonglong(result.problems.size()));
        return result.exitStatus;
    } catch (const RunAborted&) {
        RemoveRunTempFolder(state);
        return ExitStatus::Refused;
    }
}

// An output whose folder is missing is refused before the run, not found
// missing after a night's batch.
bool outputFoldersExist(const FindingOutputPaths& paths)
{
    bool exist = true;
    for (const QString& path : { paths.json, paths.sarif, paths.html }) {
        if (path.isEmpty())
            continue;
        const QString folder = QFileInfo(path).absolutePath();
        if (!QFileInfo(folder).isDir()) {
            std::fprintf(stderr, "quorvane: cannot write %s: the folder %s does not exist\n",
                qPrintable(path), qPrintable(folder));
            exist = false;
        }
    }
    return exist;
}

// The run's answer also covers the outputs it was asked for: a missing one is
// a failure, not a clean run.
int withOutputs(int status, const FindingOutputs& outputs, OperatorInterface& ui)
{
    for (const QString& failure : outputs.failures())
        ui.diagnostic(QStringLiteral("cannot write ") + failure);
    return outputs.failures().isEmpty() ? status : int(ExitStatus::Refused);
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

    qInstallMessageHandler(quietQtMessages);
    if (options.checkConfig)
        return runCheckConfig(argc, argv, options);
    const FindingOutputPaths outputPaths { options.jsonPath, options.sarifPath, options.htmlPath };
    if (!outputFoldersExist(outputPaths))
        return ExitStatus::Refused;
    // The command-line batch serves scripts and cron: it never opens a window.
    bool headless = options.headless || options.batchFolder || !displayAvailable();
    if (!headless && !displayOpens()) {
        std::fputs("quorvane: the display cannot be opened; running headless\n", stderr);
        headless = true;
    }
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
    state.pluginTimeoutSeconds = options.pluginTimeoutSeconds;
    FindingOutputs outputs(kProgramTitle, QStringLiteral(QUORVANE_VERSION), outputPaths);
    if (outputPaths.any())
        state.findingSinks.subscribe(outputs);

    try {
        const RunMode mode = Main(state, options.commandLine);
        const int status = headless ? runHeadless(state, mode, options, headlessOperator)
                                    : runWindowed(state, mode, windowOperator);
        return withOutputs(status, outputs, ui);
    } catch (const RunAborted& aborted) {
        RemoveRunTempFolder(state);
        return aborted.exitStatus();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "quorvane: unexpected failure: %s\n", failure.what());
        RemoveRunTempFolder(state);
        return ExitStatus::Refused;
    }
}
