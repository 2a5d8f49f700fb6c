#include "support/Installation.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

// What a newcomer sees on standard error when a run cannot go on, and the
// --task form of the single-file run.

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

TEST(FirstContact, UnknownTaskCodeIsToldAndTheDefaultTablesRun)
{
    Installation inst;
    const QString input = inst.writeInput("a.xml", "<a/>\r\n");
    const auto result = inst.run({ input + "|NOPE" });
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardError,
        "quorvane: task code NOPE is not named by any [TASK] section of Quorvane.INI; the default tables are "
        "used\n");
}

TEST(FirstContact, TaskOptionIsTheSameAsTheBarForm)
{
    Installation inst;
    inst.set("CHECKSPECIALCHAR", "FALSE");
    inst.appendIni("[TASK]\r\nTASKCODE = T1\r\n[SETTINGS]\r\nCHECKSPECIALCHAR = TRUE\r\n");
    inst.writeSpecialCharacters("\"&amp;amp;\",\"Double escape\",\"ERROR\",\"\"\r\n");
    const QString input = inst.writeInput("a.xml", "<a>&amp;amp;</a>\r\n");

    const auto barForm = inst.run({ input + "|T1" });
    const QByteArray barReport = Installation::read(inst.workPath() + "a.ERR");
    const auto optionForm = inst.run({ "--task", "T1", input });
    EXPECT_EQ(optionForm.exitCode, 1) << optionForm.standardError.toStdString();
    EXPECT_EQ(barForm.exitCode, 1);
    EXPECT_EQ(Installation::read(inst.workPath() + "a.ERR"), barReport);
    EXPECT_EQ(inst.run({ "--task", "T1", input }).standardOutput, barForm.standardOutput);

    // The same code both ways says one thing (codes are compared upper-cased); two say two.
    const auto same = inst.run({ "--task", "t1", input + "|T1" });
    EXPECT_EQ(same.exitCode, 1) << same.standardError.toStdString();
    EXPECT_EQ(Installation::read(inst.workPath() + "a.ERR"), barReport);
    const auto two = inst.run({ "--task", "T2", input + "|T1" });
    EXPECT_EQ(two.exitCode, 2);
    EXPECT_TRUE(two.standardError.startsWith(
        "quorvane: --task T2 and \"|T1\" name two different task codes; give one"))
        << two.standardError.toStdString();
}
