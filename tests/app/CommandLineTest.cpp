#include "app/CommandLine.h"

#include "app/modGlobal.h"
#include "core/Paths.h"

#include <gtest/gtest.h>

TEST(CommandLine, SplitsAtTheFirstBarAndTrims)
{
    struct Row {
        QString commandLine, path, task;
    };
    const Row rows[] = {
        { "a.xml|T1", "a.xml", "T1" },
        { "  C:/a.xml | T1 ", "C:/a.xml", "T1" },
        { "x/y/a.xml|T|U", "x/y/a.xml", "T|U" },
        { "/jobs/a b.xml", "/jobs/a b.xml", "" },
        { "a.xml|", "a.xml", "" },
        { "|T", "", "T" },
    };
    for (const Row& row : rows) {
        const InputRequest request = SplitCommandLine(row.commandLine);
        EXPECT_EQ(request.inputPath, row.path) << row.commandLine.toStdString();
        EXPECT_EQ(request.taskCode, row.task) << row.commandLine.toStdString();
    }
}

TEST(CommandLine, ReadsOptionsAndJoinsTheRestWithBlanks)
{
    struct Row {
        QStringList arguments;
        QString appDir;
        bool headless;
        QString commandLine;
        bool failed;
    };
    const Row rows[] = {
        { { "q", "--app-dir", "/opt/q", "--headless", "a.xml|T" }, "/opt/q", true, "a.xml|T", false },
        { { "q", "/in/my", "file.xml", "|", "T1" }, "", false, "/in/my file.xml | T1", false },
        { { "q", "--", "--headless" }, "", false, "--headless", false },
        { { "q", "--app-dir=/x" }, "/x", false, "", false },
        { { "q", "--app-dir" }, "", false, "", true },
        { { "q", "--frobnicate" }, "", false, "", true },
    };
    for (const Row& row : rows) {
        const CommandLineOptions options = ParseCommandLineOptions(row.arguments);
        EXPECT_EQ(!options.error.isEmpty(), row.failed) << row.arguments.join(' ').toStdString();
        if (row.failed)
            continue;
        EXPECT_EQ(options.appDir, row.appDir);
        EXPECT_EQ(options.headless, row.headless);
        EXPECT_EQ(options.commandLine, row.commandLine);
    }
}

TEST(CommandLine, TakesFileNameAndParentFolderPartFromThePath)
{
    struct Row {
        QString path, fileName, parent;
    };
    const Row rows[] = {
        { "a.xml", "a.xml", "" },
        { "/jobs/Batch7/a.xml", "a.xml", "/Batch7" },
        { "jobs/ Batch7 / a.xml ", "a.xml", "/Batch7" },
        { "C:/a.xml", "a.xml", "" }, // a drive's root has no parent folder part
        { "/a.xml", "a.xml", "/" },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(InputFileNameOf(row.path), row.fileName) << row.path.toStdString();
        EXPECT_EQ(ParentFolderPartOf(row.path), row.parent) << row.path.toStdString();
    }
}

TEST(CommandLine, ReadsTheBatchOptionsAndTakesTheRestAsEntries)
{
    struct Row {
        QStringList arguments;
        std::optional<QString> folder;
        QString task;
        std::optional<QString> work, output;
        QStringList entries;
        bool failed;
    };
    const std::nullopt_t none = std::nullopt;
    const Row rows[] = {
        { { "q", "--batch", "/in", "j1", "j 2" }, "/in", "", none, none, { "j1", "j 2" }, false },
        { { "q", "--task", "T1", "--batch=/in", "--work", "/w", "--output=/o" }, "/in", "T1", "/w", "/o", {},
            false },
        // An entry is no "INPUT|TASK": the task code stays the batch's own.
        { { "q", "--batch", "/in", "--task=T1", "j|1" }, "/in", "T1", none, none, { "j|1" }, false },
        { { "q", "--batch", "/in", "--", "--odd" }, "/in", "", none, none, { "--odd" }, false },
        { { "q", "--batch" }, none, "", none, none, {}, true },
        { { "q", "--batch", "/in", "--output" }, none, "", none, none, {}, true },
        { { "q", "--work", "/w", "a.xml" }, none, "", none, none, {}, true },
    };
    for (const Row& row : rows) {
        const CommandLineOptions options = ParseCommandLineOptions(row.arguments);
        const std::string shown = row.arguments.join(' ').toStdString();
        EXPECT_EQ(!options.error.isEmpty(), row.failed) << shown;
        if (row.failed)
            continue;
        EXPECT_EQ(options.batchFolder, row.folder) << shown;
        EXPECT_EQ(options.task, row.task) << shown;
        EXPECT_EQ(options.workPath, row.work) << shown;
        EXPECT_EQ(options.outputPath, row.output) << shown;
        EXPECT_EQ(options.entries, row.entries) << shown;
        // Entries are no single-file command line: start-up sees batch mode.
        EXPECT_EQ(options.commandLine, "") << shown;
    }
}

TEST(CommandLine, ReadsTheJobCountOfABatch)
{
    struct Row {
        QStringList arguments;
        int jobs;
        bool failed;
    };
    const Row rows[] = {
        { { "q", "--batch", "/in" }, 0, false }, // 0: one per core
        { { "q", "--batch", "/in", "--jobs", "4", "j1" }, 4, false },
        { { "q", "--jobs=1", "--batch", "/in" }, 1, false },
        { { "q", "--batch", "/in", "--jobs", "0" }, 0, true },
        { { "q", "--batch", "/in", "--jobs", "many" }, 0, true },
        { { "q", "--batch", "/in", "--jobs" }, 0, true },
        { { "q", "--jobs", "2", "a.xml|T" }, 0, true }, // one file has nothing to share out
    };
    for (const Row& row : rows) {
        const CommandLineOptions options = ParseCommandLineOptions(row.arguments);
        const std::string shown = row.arguments.join(' ').toStdString();
        EXPECT_EQ(!options.error.isEmpty(), row.failed) << shown;
        if (!row.failed)
            EXPECT_EQ(options.jobs, row.jobs) << shown;
    }
    EXPECT_TRUE(CommandLineHelpText().contains("--jobs N"));
}

TEST(CommandLine, ReadsTheOutputOptionsAndTheConfigurationCheck)
{
    struct Row {
        QStringList arguments;
        QString json, sarif, html;
        bool checkConfig;
        QString commandLine;
        bool failed;
    };
    const Row rows[] = {
        { { "q", "--json", "r.json", "--sarif=r.sarif", "--html", "r.html", "a.xml|T" }, "r.json", "r.sarif",
            "r.html", false, "a.xml|T", false },
        { { "q", "--html=/x/y z.html", "--batch", "/in" }, "", "", "/x/y z.html", false, "", false },
        { { "q", "--check-config", "--task", "T1" }, "", "", "", true, "", false },
        { { "q", "--json" }, "", "", "", false, "", true },
        { { "q", "--sarif=", "a.xml" }, "", "", "", false, "", true },
        // The check validates nothing: an input would be silently ignored.
        { { "q", "--check-config", "a.xml" }, "", "", "", true, "", true },
        { { "q", "--check-config", "--batch", "/in" }, "", "", "", true, "", true },
    };
    for (const Row& row : rows) {
        const CommandLineOptions options = ParseCommandLineOptions(row.arguments);
        const std::string shown = row.arguments.join(' ').toStdString();
        EXPECT_EQ(!options.error.isEmpty(), row.failed) << shown;
        if (row.failed)
            continue;
        EXPECT_EQ(options.jsonPath, row.json) << shown;
        EXPECT_EQ(options.sarifPath, row.sarif) << shown;
        EXPECT_EQ(options.htmlPath, row.html) << shown;
        EXPECT_EQ(options.checkConfig, row.checkConfig) << shown;
        EXPECT_EQ(options.commandLine, row.commandLine) << shown;
    }
}
