#include "app/CommandLine.h"

#include "core/MoveFiles.h"

#include <QDir>

namespace {

// The options of the headless batch, as "--name VALUE" or "--name=VALUE".
// Returns false when the argument is none of them.
bool readBatchOption(const QStringList& arguments, qsizetype& i, CommandLineOptions& options)
{
    const struct {
        QLatin1StringView name;
        std::optional<QString> CommandLineOptions::*field;
        const char* needs;
    } batchOptions[] = {
        { QLatin1StringView("--batch"), &CommandLineOptions::batchFolder, "a folder" },
        { QLatin1StringView("--work"), &CommandLineOptions::workPath, "a folder" },
        { QLatin1StringView("--output"), &CommandLineOptions::outputPath, "a folder" },
    };
    const QString& argument = arguments[i];
    for (const auto& option : batchOptions) {
        if (argument == option.name) {
            if (++i >= arguments.size()) {
                options.error = QStringLiteral("%1 needs %2").arg(option.name, QLatin1String(option.needs));
                return true;
            }
            options.*option.field = arguments[i];
            return true;
        }
        if (argument.startsWith(option.name + QLatin1Char('='))) {
            options.*option.field = argument.mid(option.name.size() + 1);
            return true;
        }
    }
    return false;
}

// The outputs beside the reports, as "--name FILE" or "--name=FILE".
bool readOutputOption(const QStringList& arguments, qsizetype& i, CommandLineOptions& options)
{
    const struct {
        QLatin1StringView name;
        QString CommandLineOptions::*field;
    } outputOptions[] = {
        { QLatin1StringView("--json"), &CommandLineOptions::jsonPath },
        { QLatin1StringView("--sarif"), &CommandLineOptions::sarifPath },
        { QLatin1StringView("--html"), &CommandLineOptions::htmlPath },
    };
    const QString& argument = arguments[i];
    for (const auto& option : outputOptions) {
        QString value;
        if (argument == option.name) {
            value = ++i < arguments.size() ? arguments[i] : QString();
        } else if (argument.startsWith(option.name + QLatin1Char('='))) {
            value = argument.mid(option.name.size() + 1);
        } else {
            continue;
        }
        if (value.isEmpty())
            options.error = QStringLiteral("%1 needs a file").arg(option.name);
        options.*option.field = value;
        return true;
    }
    return false;
}

// With --batch the remaining arguments are entries of the folder; the
// batch's boxes mean nothing to a single-file run.
void finishBatchOptions(CommandLineOptions& options, const QStringList& rest)
{
    if (options.batchFolder) {
        options.entries = rest;
        options.commandLine.clear();
    } else if (options.workPath || options.outputPath) {
        options.error = QStringLiteral("--work and --output go with --batch");
    } else if (options.jobs > 0) {
        options.error = QStringLiteral("--jobs goes with --batch");
    } else if (options.shardCount > 0) {
        options.error = QStringLiteral("--shard goes with --batch");
    }
}

bool outputsAsked(const CommandLineOptions& options)
{
    return !options.jsonPath.isEmpty() || !options.sarifPath.isEmpty() || !options.htmlPath.isEmpty();
}

// "K/N" with 1 <= K <= N.
bool readShard(const QString& value, CommandLineOptions& options)
{
    const QStringList parts = value.split(QLatin1Char('/'));
    bool indexRead = false;
    bool countRead = false;
    if (parts.size() == 2) {
        options.shardIndex = parts[0].toInt(&indexRead);
        options.shardCount = parts[1].toInt(&countRead);
    }
    if (indexRead && countRead && options.shardIndex >= 1 && options.shardIndex <= options.shardCount)
        return true;
    options.error = QStringLiteral("--shard needs K/N: the K-th of N slices, 1 <= K <= N (as in 2/5)");
    return false;
}

// The merge reads everything else from what the shards recorded: another
// option would either repeat that or contradict it.
void finishMergeOptions(CommandLineOptions& options, const QStringList& rest)
{
    const bool otherOptions = options.batchFolder || options.workPath || options.outputPath
        || options.jobs > 0 || options.shardCount > 0 || !options.task.isEmpty()
        || !options.jsonPath.isEmpty() || !options.sarifPath.isEmpty() || !options.htmlPath.isEmpty()
        || options.pluginTimeoutSeconds > 0 || !options.viewPath.isEmpty();
    if (otherOptions || rest.size() < 2)
        options.error = QStringLiteral("--merge takes an output folder and the shards' folders: "
                                       "--merge OUT SHARD...");
    options.mergeFolders = rest;
    options.commandLine.clear();
}

} // namespace

CommandLineOptions ParseCommandLineOptions(const QStringList& arguments)
{
    CommandLineOptions options;
    QStringList rest;
    bool optionsEnded = false;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (optionsEnded || !argument.startsWith(QLatin1String("--"))) {
            rest << argument;
        } else if (argument == QLatin1String("--")) {
            optionsEnded = true;
        } else if (argument == QLatin1String("--headless")) {
            options.headless = true;
        } else if (argument == QLatin1String("--help")) {
            options.showHelp = true;
        } else if (argument == QLatin1String("--version")) {
            options.showVersion = true;
        } else if (argument == QLatin1String("--app-dir")) {
            if (++i >= arguments.size()) {
                options.error = QStringLiteral("--app-dir needs a folder");
                return options;
            }
            options.appDir = arguments[i];
        } else if (argument.startsWith(QLatin1String("--app-dir="))) {
            options.appDir = argument.mid(10);
        } else if (argument == QLatin1String("--plugin-timeout")) {
            bool number = false;
            options.pluginTimeoutSeconds = ++i < arguments.size() ? arguments[i].toInt(&number) : 0;
            if (!number || options.pluginTimeoutSeconds < 1) {
                options.error = QStringLiteral("--plugin-timeout needs a number of seconds above 0");
                return options;
            }
        } else if (argument == QLatin1String("--jobs") || argument.startsWith(QLatin1String("--jobs="))) {
            const QString value = argument.size() > 6 ? argument.mid(7)
                : ++i < arguments.size()              ? arguments[i]
                                                      : QString();
            bool number = false;
            options.jobs = value.toInt(&number);
            if (!number || options.jobs < 1) {
                options.error = QStringLiteral("--jobs needs a number of files above 0");
                return options;
            }
        } else if (argument == QLatin1String("--task")) {
            if (++i >= arguments.size()) {
                options.error = QStringLiteral("--task needs a task code");
                return options;
            }
            options.task = arguments[i];
        } else if (argument.startsWith(QLatin1String("--task="))) {
            options.task = argument.mid(7);
        } else if (argument == QLatin1String("--shard") || argument.startsWith(QLatin1String("--shard="))) {
            const QString value = argument.size() > 7 ? argument.mid(8)
                : ++i < arguments.size()              ? arguments[i]
                                                      : QString();
            if (!readShard(value, options))
                return options;
        } else if (argument == QLatin1String("--merge")) {
            options.merge = true;
        } else if (argument == QLatin1String("--check-config")) {
            options.checkConfig = true;
        } else if (argument == QLatin1String("--input") || argument.startsWith(QLatin1String("--input="))) {
            options.checkInput = argument.size() > 7 ? argument.mid(8)
                : ++i < arguments.size()             ? arguments[i]
                                                     : QString();
            if (options.checkInput.isEmpty()) {
                options.error = QStringLiteral("--input needs a file");
                return options;
            }
        } else if (argument == QLatin1String("--view") || argument.startsWith(QLatin1String("--view="))) {
            options.viewPath = argument.size() > 6 ? argument.mid(7)
                : ++i < arguments.size()           ? arguments[i]
                                                   : QString();
            if (options.viewPath.isEmpty()) {
                options.error = QStringLiteral("--view needs a working folder or a --json file");
                return options;
            }
        } else if (argument == QLatin1String("--no-cache")) {
            options.noCache = true;
        } else if (argument == QLatin1String("--cache-dir")
            || argument.startsWith(QLatin1String("--cache-dir="))) {
            const QString value = argument.size() > 11 ? argument.mid(12)
                : ++i < arguments.size()               ? arguments[i]
                                                       : QString();
            if (value.isEmpty()) {
                options.error = QStringLiteral("--cache-dir needs a folder");
                return options;
            }
            options.cacheDir = value;
        } else if (readBatchOption(arguments, i, options) || readOutputOption(arguments, i, options)) {
            if (!options.error.isEmpty())
                return options;
        } else {
            options.error = QStringLiteral("unknown option %1").arg(argument);
            return options;
        }
    }
    options.commandLine = rest.join(QLatin1Char(' '));
    // The check validates no input: an argument would be silently ignored.
    if (options.checkConfig && (!rest.isEmpty() || options.batchFolder || !options.viewPath.isEmpty())) {
        options.error = QStringLiteral(
            "--check-config validates no input; give only --task CODE and --input FILE with it");
        return options;
    }
    if (options.checkConfig)
        return options;
    if (options.merge) {
        finishMergeOptions(options, rest);
        return options;
    }
    if (!options.checkInput.isEmpty()) {
        options.error = QStringLiteral("--input goes with --check-config");
        return options;
    }
    // The viewer looks at a run that is over; anything to validate would be ignored.
    if (!options.viewPath.isEmpty() && (!rest.isEmpty() || options.batchFolder || outputsAsked(options))) {
        options.error = QStringLiteral("--view validates nothing; give only --app-dir with it");
        return options;
    }
    finishBatchOptions(options, rest);
    if (!options.task.isEmpty() && !options.commandLine.isEmpty()) {
        // Two different task codes for one file would leave the user guessing
        // which one ran; the same code twice says one thing, as task codes
        // are compared upper-cased.
        if (options.commandLine.contains(QLatin1Char('|'))) {
            const QString given = SplitCommandLine(options.commandLine).taskCode;
            if (given.toUpper() != options.task.trimmed().toUpper()) {
                options.error
                    = QStringLiteral("--task %1 and \"|%2\" name two different task codes; give one")
                          .arg(options.task, given);
                return options;
            }
        } else {
            options.commandLine += QLatin1Char('|') + options.task;
        }
    }
    return options;
}

// The headless batch, kept in its own block of the help text.
QString batchHelpText()
{
    return QStringLiteral("\n"
                          "Batch (what the batch window's PROCESS does, without a window):\n"
                          "  quorvane [--app-dir DIR] --batch FOLDER [--task CODE] [--work DIR]\n"
                          "           [--output DIR] [--jobs N] [--json FILE] [--sarif FILE]\n"
                          "           [--html FILE] [--shard K/N] [ENTRY...]\n"
                          "  quorvane --merge OUT SHARD...\n"
                          "  --batch FOLDER  validate the ENTRYs of FOLDER: its files when INPUTTYPE is\n"
                          "                  FILES, else its subfolders with everything below them;\n"
                          "                  no ENTRY takes every entry; implies --headless\n"
                          "  --task CODE     the batch's task code (default: none)\n"
                          "  --work DIR      working path, where the reports go (default: WORKPATH)\n"
                          "  --output DIR    output path (default: OUTPUTPATH)\n"
                          "  --jobs N        validate N files side by side (default: one per core);\n"
                          "                  the reports and logs are the same as with --jobs 1\n"
                          "  --shard K/N     validate only the K-th of N contiguous slices of the batch's\n"
                          "                  files, starting from the tags the files before it leave\n"
                          "                  open; give each shard its own --work, --output and\n"
                          "                  outputs inside one folder per shard (docs/cluster.md)\n"
                          "  --merge OUT SHARD...\n"
                          "                  join the folders of all N shards of one batch into OUT\n"
                          "                  as the whole batch writes them, and exit as it would\n"
                          "  Example, from the repository:\n"
                          "    quorvane --app-dir examples --batch examples input\n");
}

QString CommandLineHelpText()
{
    return QStringLiteral(
               "Usage: quorvane [--app-dir DIR] [--headless] [--task CODE] [--plugin-timeout SECONDS]\n"
               "                [--json FILE] [--sarif FILE] [--html FILE]\n"
               "                [--cache-dir DIR | --no-cache] [--] [INPUT[|TASK]]\n"
               "       quorvane [--app-dir DIR] --check-config [--task CODE] [--input FILE]\n"
               "       quorvane [--app-dir DIR] --view WORKDIR|FILE.json\n"
               "\n"
               "Validates tagged text against the rules configured in Quorvane.INI.\n"
               "\n"
               "With an argument, validates that one file with the task's table set and\n"
               "writes its .ERR and .WRN reports; without one, opens the batch window.\n"
               "Quote \"INPUT|TASK\" in a shell, or give the task with --task:\n"
               "  quorvane --headless \"examples/input/article.xml|JRNL\"\n"
               "  quorvane --headless --task JRNL examples/input/article.xml\n"
               "\n"
               "  --app-dir DIR  folder holding Quorvane.INI (default: the executable's folder;\n"
               "                 /etc/quorvane for the installed /usr/bin/quorvane)\n"
               "  --task CODE    the task code, as after \"|\" in INPUT|TASK\n"
               "  --plugin-timeout SECONDS\n"
               "                 stop an outside program that runs longer (default: wait)\n"
               "  --json FILE    also write the run's findings as one JSON document\n"
               "  --sarif FILE   also write them as a SARIF 2.1.0 log, for code review and CI\n"
               "  --html FILE    also write a summary page for a browser (files, counts,\n"
               "                 findings per routine); all three apply to batches too\n"
               "  --check-config list the table lines the loaders drop and the tables no run\n"
               "                 uses, as FILE:LINE: message, for the default set and each\n"
               "                 task (or --task CODE); exit 0 clean, 1 problems, 2 unreadable\n"
               "  --input FILE   with --check-config, also warn of routines declared on an\n"
               "                 element that FILE only writes as an empty tag (default:\n"
               "                 the first 100 files below INPUTPATH)\n"
               "  --view WORKDIR|FILE.json\n"
               "                 show the findings of a run in the findings viewer: the\n"
               "                 reports and logs it left in WORKDIR, or its --json file\n"
               "  --cache-dir DIR\n"
               "                 keep the spelling engine's answers in DIR (default:\n"
               "                 $QUORVANE_CACHE_DIR, else $XDG_CACHE_HOME/quorvane,\n"
               "                 else ~/.cache/quorvane), so later runs need not ask again\n"
               "  --no-cache     neither read nor keep answers from run to run\n"
               "  --headless     no window; messages go to standard error\n"
               "                 (implied when neither DISPLAY nor WAYLAND_DISPLAY is set)\n"
               "  --help         show this text\n"
               "  --version      show the version\n"
               "\n"
               "Exit status: 0 no error found, 1 errors reported, 2 run refused or failed.\n")
        + batchHelpText();
}

QString DefaultApplicationFolder(const QString& executableFolder)
{
    // The package installs the executable here; the folders of /usr are
    // read-only and hold no configuration, so the installed program reads
    // the system's configuration folder instead.
    if (QDir::cleanPath(executableFolder) == QLatin1String("/usr/bin"))
        return QStringLiteral("/etc/quorvane/");
    return FolderServices::WithTrailingSlash(executableFolder);
}

InputRequest SplitCommandLine(const QString& commandLine)
{
    const QString trimmed = commandLine.trimmed();
    const qsizetype bar = trimmed.indexOf(QLatin1Char('|'));
    if (bar < 0)
        return { trimmed, QString() };
    return { trimmed.left(bar).trimmed(), trimmed.mid(bar + 1).trimmed() };
}
