#include "app/CommandLine.h"

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
        } else if (argument == QLatin1String("--task")) {
            if (++i >= arguments.size()) {
                options.error = QStringLiteral("--task needs a task code");
                return options;
            }
            options.task = arguments[i];
        } else if (argument.startsWith(QLatin1String("--task="))) {
            options.task = argument.mid(7);
        } else {
            options.error = QStringLiteral("unknown option %1").arg(argument);
            return options;
        }
    }
    options.commandLine = rest.join(QLatin1Char(' '));
    if (!options.task.isEmpty() && !options.commandLine.isEmpty()) {
        // Two task codes for one file would leave the user guessing which one ran.
        if (options.commandLine.contains(QLatin1Char('|'))) {
            options.error = QStringLiteral("give the task code either with --task or after \"|\", not both");
            return options;
        }
        options.commandLine += QLatin1Char('|') + options.task;
    }
    return options;
}

QString CommandLineHelpText()
{
    return QStringLiteral(
        "Usage: quorvane [--app-dir DIR] [--headless] [--task CODE] [--plugin-timeout SECONDS]\n"
        "                [--] [INPUT[|TASK]]\n"
        "\n"
        "Validates tagged text against the rules configured in Quorvane.INI.\n"
        "\n"
        "With an argument, validates that one file with the task's table set and\n"
        "writes its .ERR and .WRN reports; without one, opens the batch window.\n"
        "Quote \"INPUT|TASK\" in a shell, or give the task with --task:\n"
        "  quorvane --headless \"examples/input/article.xml|JRNL\"\n"
        "  quorvane --headless --task JRNL examples/input/article.xml\n"
        "\n"
        "  --app-dir DIR  folder holding Quorvane.INI (default: the executable's folder)\n"
        "  --task CODE    the task code, as after \"|\" in INPUT|TASK\n"
        "  --plugin-timeout SECONDS\n"
        "                 stop an outside program that runs longer (default: wait)\n"
        "  --headless     no window; messages go to standard error\n"
        "                 (implied when neither DISPLAY nor WAYLAND_DISPLAY is set)\n"
        "  --help         show this text\n"
        "  --version      show the version\n"
        "\n"
        "Exit status: 0 no error found, 1 errors reported, 2 run refused or failed.\n");
}

InputRequest SplitCommandLine(const QString& commandLine)
{
    const QString trimmed = commandLine.trimmed();
    const qsizetype bar = trimmed.indexOf(QLatin1Char('|'));
    if (bar < 0)
        return { trimmed, QString() };
    return { trimmed.left(bar).trimmed(), trimmed.mid(bar + 1).trimmed() };
}
