#include "app/BatchRun.h"
#include "app/BatchShard.h"
#include "app/CheckConfig.h"
#include "app/CommandLine.h"
#include "app/HeadlessOperator.h"
#include "app/ProgramRun.h"
#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "app/Startup.h"
#include "app/WindowsModule.h"
#include "core/RunAborted.h"
#include "report/FindingOutputs.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <limits>
#include <malloc.h>
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

// libxcb is opened here rather than linked, so that only a run that wants a
// window loads it. Without it Qt could not use X either.
bool xDisplayOpens()
{
    void* xcb = dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!xcb)
        return false;
    const auto xcbConnect = reinterpret_cast<decltype(&xcb_connect)>(dlsym(xcb, "xcb_connect"));
    const auto xcbHasError
        = reinterpret_cast<decltype(&xcb_connection_has_error)>(dlsym(xcb, "xcb_connection_has_error"));
    const auto xcbDisconnect = reinterpret_cast<decltype(&xcb_disconnect)>(dlsym(xcb, "xcb_disconnect"));
    bool opened = false;
    if (xcbConnect && xcbHasError && xcbDisconnect) {
        xcb_connection_t* connection = xcbConnect(nullptr, nullptr);
        opened = xcbHasError(connection) == 0;
        xcbDisconnect(connection);
    }
    dlclose(xcb);
    return opened;
}

// Qt ends the process when its platform cannot open the display it was told
// about; finding out first lets the run fall back to headless instead.
bool displayOpens()
{
    // A platform the user chose is the user's to answer for.
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        return true;
    if (qEnvironmentVariableIsSet("DISPLAY") && xDisplayOpens())
        return true;
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
    command.shard = { options.shardIndex, options.shardCount };
    command.outputs = { options.jsonPath, options.sarifPath, options.htmlPath };
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
    PrintRunSummary(state);
    return status;
}

// The lint of --check-config: problems on standard output, one a line, so
// scripts can read them; a one-line verdict on standard error.
int runCheckConfig(int argc, char** argv, const CommandLineOptions& options)
{
    QCoreApplication application(argc, argv);
    HeadlessOperator ui;
    RunState state(ui);
    Configuration& config = state.ownInstallation().config;
    config.ApplicationPath = ApplicationFolder(options);
    try {
        const ConfigCheckResult result = CheckConfiguration(ui, config, options.task, options.checkInput);
        for (const QString& problem : result.problems)
            std::printf("%s\n", qPrintable(problem));
        std::fflush(stdout);
        if (result.exitStatus == 2 && !result.refusal.isEmpty())
            std::fprintf(stderr, "quorvane: %s\n", qPrintable(result.refusal));
        else if (result.exitStatus == 2)
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

// The windows module built with the executable, whatever the library search
// path holds: beside it in the build tree, in the package's own library
// folder when installed (/usr/bin and /usr/lib/ARCH/quorvane). /proc/self/exe also
// sees through a symbolic link to the executable.
QString windowsModulePath()
{
    const QString folder = QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))).absolutePath();
    const QString beside = folder + QStringLiteral("/" QUORVANE_WINDOWS_MODULE);
    const QString installed = QDir::cleanPath(
        folder + QStringLiteral("/" QUORVANE_INSTALLED_MODULE_DIR "/" QUORVANE_WINDOWS_MODULE));
    return QFileInfo::exists(beside) || !QFileInfo::exists(installed) ? beside : installed;
}

// Without its windows module the program still validates: the run falls back
// to headless with a note, as it does when the display cannot be opened, so a
// half-copied installation, or a script run where a display happens to be set,
// still gets its reports and its exit status rather than a refusal.
RunWindowsFunction loadWindows()
{
    const QByteArray path = QFile::encodeName(windowsModulePath());
    // Every symbol is bound now, so a module that does not fit this executable
    // is found here and not in the middle of a run.
    void* module = dlopen(path.constData(), RTLD_NOW | RTLD_LOCAL);
    void* entry = module ? dlsym(module, kRunWindowsSymbol) : nullptr;
    if (entry)
        return reinterpret_cast<RunWindowsFunction>(entry);
    QByteArray why = dlerror();
    if (module)
        dlclose(module);
    // dlerror() mostly starts with the path again.
    if (why.startsWith(path + ": "))
        why.remove(0, path.size() + 2);
    std::fprintf(stderr, "quorvane: cannot load the windows from %s (%s); running headless\n",
        path.constData(), why.constData());
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    // A validation allocates and frees the same megabytes over and over; by
    // default the heap hands them back to the system each time and takes a
    // page fault per 4 KB to get them again, a tenth of a 10 MB run. Keeping
    // 64 MB at the top of the heap ends that.
    mallopt(M_TOP_PAD, 64 << 20);
    // A file grown past the size limit (ulimit -f) is a write that fails, to
    // be told and to fail the file, not a signal that ends the process.
    std::signal(SIGXFSZ, SIG_IGN);
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
    if (options.merge) {
        // The merge reads no configuration: everything it needs is in the shards' folders.
        QCoreApplication application(argc, argv);
        HeadlessOperator ui;
        return MergeShards(ui, options.mergeFolders.first(), options.mergeFolders.mid(1));
    }
    // The command-line batch serves scripts and cron: it never opens a window.
    bool headless = options.headless || options.batchFolder || !displayAvailable();
    if (!headless && !displayOpens()) {
        std::fputs("quorvane: the display cannot be opened; running headless\n", stderr);
        headless = true;
    }
    // The viewer is a window and nothing else: it has no headless half to fall back on.
    const bool viewing = !options.viewPath.isEmpty();
    if (viewing && headless) {
        std::fputs("quorvane: --view shows a window, and there is no display to show it on\n", stderr);
        return ExitStatus::Refused;
    }
    if (!headless) {
        if (const RunWindowsFunction runWindows = loadWindows())
            return runWindows(&argc, argv, &options);
        if (viewing)
            return ExitStatus::Refused;
    }

    // A headless process ends with its run, so freed memory need not go
    // back to the system: big buffers come from the heap and stay there for
    // the next one, instead of each being mapped, faulted in and zeroed
    // anew. The window stays frugal: it may sit open for a day.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    QCoreApplication application(argc, argv);
    HeadlessOperator ui;
    return RunProgram(
        options, ui, [&](RunState& state, RunMode mode) { return runHeadless(state, mode, options, ui); });
}
