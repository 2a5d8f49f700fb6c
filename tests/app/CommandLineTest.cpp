#include "app/CommandLine.h"

#include "app/Startup.h"
#include "core/Paths.h"

#include <gtest/gtest.h>

TEST(CommandLine, SplitsAtTheFirstBarAndTrims)
{
    struct Row {
        QString commandLine, path, task;
    };
    const Row rows[] = {
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
        { { "q", "--batch", "/in", "--jobs", "0" }, "", false, "", true },
        { { "q", "--jobs", "2", "a.xml|T" }, "", false, "", true },
        { { "q", "--work", "/w", "a.xml" }, "", false, "", true },
        { { "q", "--check-config", "a.xml" }, "", false, "", true },
        { { "q", "--task", "T1", "a.xml|T1" }, "", false, "a.xml|T1", false },
        { { "q", "--task", "T1", "a.xml|T2" }, "", false, "", true },
        { { "q", "--input", "a.xml", "b.xml" }, "", false, "", true }, // --input is the check's
        { { "q", "--check-config", "--input" }, "", false, "", true },
        { { "q", "--batch", "/in", "--shard", "2/5" }, "", false, "", false },
        { { "q", "--batch", "/in", "--shard=6/5" }, "", false, "", true },
        { { "q", "--batch", "/in", "--shard", "0/5" }, "", false, "", true },
        { { "q", "--batch", "/in", "--shard", "2" }, "", false, "", true },
        { { "q", "--shard", "1/2", "a.xml" }, "", false, "", true }, // a shard of a batch only
        { { "q", "--merge", "out", "s1", "s2" }, "", false, "", false },
        { { "q", "--merge", "out" }, "", false, "", true }, // no shard to merge
        { { "q", "--merge", "--json", "f.json", "out", "s1" }, "", false, "", true },
        { { "q", "--cache-dir" }, "", false, "", true },
        { { "q", "--cache-dir=" }, "", false, "", true },
        { { "q", "--cache-dir", "/c", "--no-cache", "a.xml" }, "", false, "a.xml", false },
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
    EXPECT_EQ(ParseCommandLineOptions({ "q", "--cache-dir=/c", "a.xml" }).cacheDir, QString("/c"));
    EXPECT_TRUE(ParseCommandLineOptions({ "q", "--no-cache", "a.xml" }).noCache);
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

TEST(CommandLine, DefaultApplicationFolderIsTheExecutablesButForThePackagedOne)
{
    struct Row {
        QString executableFolder, applicationFolder;
    };
    const Row rows[] = {
        { "/work/q/build", "/work/q/build/" },
        { "/usr/bin", "/etc/quorvane/" },
        { "/usr/bin/", "/etc/quorvane/" },
        { "/usr/local/bin", "/usr/local/bin/" },
    };
    for (const Row& row : rows)
        EXPECT_EQ(DefaultApplicationFolder(row.executableFolder), row.applicationFolder);
}
