#include "rules/TextValidity.h"
#include "support/Installation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <gtest/gtest.h>

// --check-config through the real executable. What it lists for an
// installation with a fault of every kind is the golden run check_config_broken.

// A clean check, tables used by one task only, the file-name table its
// switch keeps unread and an unknown --task are golden runs (check_config*).
// A configuration without a required key leaves nothing to check against.
TEST(CheckConfig, AnswersTwoWithoutAUsableConfiguration)
{
    Installation inst;
    inst.set("WORKPATH", QString());
    const auto unreadable = inst.run({ "--check-config" });
    EXPECT_EQ(unreadable.exitCode, 2);
    EXPECT_EQ(unreadable.standardOutput, "");
}

// A night's batch holds the temporary folder for hours: the check neither
// waits for it nor clears what the batch has staged there.
TEST(CheckConfig, LeavesTheTemporaryFolderToTheRunThatHoldsIt)
{
    Installation inst;
    inst.run({ "--version" }); // writes the configuration
    QDir().mkpath(inst.tempPath() + "Quorvane_Temp");
    const QString staged = inst.tempPath() + "Quorvane_Temp/staged.xml";
    QFile(staged).open(QIODevice::WriteOnly);
    QLockFile held(inst.tempPath() + "Quorvane_Temp.lock");
    ASSERT_TRUE(held.tryLock(0));

    // Waiting for the lock would keep the check from ever answering.
    const auto result = inst.run({ "--check-config" });
    EXPECT_EQ(result.exitCode, 0) << result.standardError.toStdString();
    EXPECT_TRUE(QFileInfo::exists(staged));
}

TEST(CheckConfig, NamesTextValidityOperatorsThatWouldNotDoWhatTheyLookLike)
{
    struct Row {
        QString op;
        bool problem;
    };
    // "=", "<=" and a plain word: the golden run check_config_broken.
    const Row rows[] = {
        { "=<", false },
        { "dup", false },
        { "+1", false },
        { "@eval(=)$1+$2", false },
        { "(@eval)2+3=", false }, // the comparison may follow the parenthesis
        { "=<@now", false },
        { "", false }, // any other word forbids the pattern
        { "DUP", true },
        { "+", true },
        { "@eval$1+$2", true },
        { "@now", true },
    };
    for (const Row& row : rows)
        EXPECT_EQ(!TextValidityOperatorProblem(row.op).isEmpty(), row.problem) << row.op.toStdString();
}
