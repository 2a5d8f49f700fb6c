#include "support/Installation.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

// The headless batch through the real executable.
namespace {

const QByteArray kWithError = "<doc><fn fnref=\"1\">1 x</fn></doc>\r\n";

Installation& withFootnoteRule(Installation& inst)
{
    inst.declareRoutines("<fn> | UNDELFNREF | E\r\n");
    return inst;
}

} // namespace

TEST(BatchCommandLine, ValidatesTheWholeListAndCleansUp)
{
    Installation inst;
    withFootnoteRule(inst);
    inst.writeInput("j1/a.xml", kWithError);
    inst.writeInput("j1/ch/b.xml", "<doc/>\r\n");
    inst.writeInput("j2/c.xml", "<doc/>\r\n");
    const auto result = inst.run({ "--batch", inst.inputPath() });
    EXPECT_EQ(result.exitCode, 1) << result.standardError.toStdString();
    EXPECT_TRUE(QFile::exists(inst.workPath() + "j2/c.WRN"));
    EXPECT_FALSE(QDir(inst.tempPath() + "Quorvane_Temp").exists());
}

TEST(BatchCommandLine, TakesItsBoxesFromOptions)
{
    Installation inst;
    withFootnoteRule(inst);
    inst.set("INPUTTYPE", "FILES");
    inst.appendIni("[TASK]\r\nTASKCODE = T1\r\n");
    inst.writeInput("a.xml", "<doc/>\r\n");
    inst.writeInput("b.xml", kWithError);
    QDir().mkpath(inst.root() + "w2");
    QDir().mkpath(inst.root() + "o2");
    const QString root = inst.root();
    const auto result = inst.run({ "--batch", root + "input", "--task", "T1", "--work", root + "w2",
        "--output=" + root + "o2", "a.xml" });
    EXPECT_EQ(result.exitCode, 0) << result.standardError.toStdString();
    EXPECT_EQ(result.standardError,
        "[information] Complete Process: Finish Processing! Please view the log file/s in " + root + "w2/\n");
    // The reports went to the run's own boxes; the output folder is the
    // output path joined with the input folder's name.
    EXPECT_EQ(Installation::read(inst.root() + "w2/a.ERR"), "");
    EXPECT_EQ(Installation::read(inst.root() + "o2/inputa.xml"), "<doc/>\r\n");
    EXPECT_FALSE(QFile::exists(inst.workPath() + "a.ERR"));
}
