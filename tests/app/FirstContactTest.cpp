#include "support/Installation.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

// What a newcomer sees on standard error when no configuration is found; the
// task codes of a single-file run are golden runs of the samples.

TEST(FirstContact, AMissingConfigurationNamesTheFolderItLookedIn)
{
    TempDir empty;
    QProcess process;
    process.start(QStringLiteral(QUORVANE_EXECUTABLE), { "--app-dir", empty.path(), "--headless", "a.xml" });
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 2);
    EXPECT_EQ(QString::fromUtf8(process.readAllStandardError()),
        "[critical] Quorvane: Missing Quorvane.INI in the application path\n"
        "quorvane: no Quorvane.INI in "
            + QDir(empty.path()).absolutePath()
            + " (the application folder; choose another with --app-dir)\n");
}
