#include "support/Installation.h"

#include <gtest/gtest.h>

// Start-up refusals end the run with their message and exit status 2; each
// is a golden run of the samples (refused_*). What those cannot show is that
// a refused run leaves no --json, --sarif or --html of an earlier run to pass
// for its own.
TEST(Startup, ARefusedRunLeavesNoEarlierOutputs)
{
    Installation inst;
    QStringList arguments;
    QStringList earlierOutputs;
    for (const char* option : { "--json", "--sarif", "--html" }) {
        earlierOutputs << inst.writeInput(QStringLiteral("../earlier%1").arg(option), "an earlier run's");
        arguments << option << earlierOutputs.last();
    }
    const auto result = inst.run(arguments << "--batch" << inst.root() + "none");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.standardError, "[critical] Quorvane: " + inst.root() + "none not found!\n");
    for (const QString& output : earlierOutputs)
        EXPECT_FALSE(QFile::exists(output)) << output.toStdString();
}

TEST(Startup, HelpAndVersionNeedNoInstallation)
{
    for (const char* option : { "--help", "--version" }) {
        QProcess process;
        process.start(QStringLiteral(QUORVANE_EXECUTABLE), { option });
        ASSERT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0) << option;
        EXPECT_FALSE(process.readAllStandardOutput().isEmpty()) << option;
    }
}
