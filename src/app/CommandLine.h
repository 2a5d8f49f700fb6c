#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// The executable's own options; everything else is the program's
// command-line string (input path, "|", task code).
struct CommandLineOptions {
    QString appDir; // empty: the folder of the executable
    bool headless = false;
    bool showHelp = false;
    bool showVersion = false;
    int pluginTimeoutSeconds = 0; // --plugin-timeout SECONDS; 0 waits for ever
    QString task; // --task CODE; for a single file it is joined into commandLine
    QString commandLine; // the remaining arguments joined with single blanks (+ "|" + task)
    QString error; // not empty when the options could not be read

    // Machine-readable findings of the run, beside the fixed reports; empty
    // asks for none. They apply to every run of the process.
    QString jsonPath; // --json FILE
    QString sarifPath; // --sarif FILE
    QString htmlPath; // --html FILE
    bool checkConfig = false; // --check-config: lint the installation, validate nothing
    QString checkInput; // --input FILE with --check-config: the input whose empty tags to weigh
    QString viewPath; // --view DIR|FILE.json: show a run's findings, validate nothing

    // Where the spelling engine's answers are kept from run to run.
    std::optional<QString> cacheDir; // --cache-dir DIR; default: DefaultSpellingCacheFolder()
    bool noCache = false; // --no-cache: ask the engine afresh and keep nothing

    // The headless batch: --batch FOLDER, the remaining arguments its ENTRYs;
    // --task fills its task-code box.
    std::optional<QString> batchFolder;
    std::optional<QString> workPath; // --work: the working-path box
    std::optional<QString> outputPath; // --output: the output-path box
    int jobs = 0; // --jobs N: files validated side by side; 0: one per core
    QStringList entries;
    // --shard K/N: only the K-th of N slices of the batch's files; 0/0 the whole batch.
    int shardIndex = 0;
    int shardCount = 0;

    // --merge OUT SHARD...: join what the shards of one batch wrote.
    bool merge = false;
    QStringList mergeFolders; // OUT first, then the shards' folders
};

CommandLineOptions ParseCommandLineOptions(const QStringList& arguments);
QString CommandLineHelpText();

// Where Quorvane.INI is looked for without --app-dir: the executable's own
// folder, but /etc/quorvane/ for the packaged executable in /usr/bin, a
// folder that holds no configuration. With a trailing "/".
QString DefaultApplicationFolder(const QString& executableFolder);

// The input path and task code taken from the command-line string: the first
// "|" splits, both parts trimmed. A string without "|" is the path alone.
struct InputRequest {
    QString inputPath;
    QString taskCode;
};
InputRequest SplitCommandLine(const QString& commandLine);
