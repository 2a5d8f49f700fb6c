#include "support/Installation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>
#include <gtest/gtest.h>
#include <memory>

namespace {

QByteArray reportHeader(const QString& baseName, const QString& kind)
{
    return ("Filename: " + baseName + "\r\nLine No" + QString(6, ' ') + kind + " Message" + QString(103, ' ')
        + "Data Content\r\n" + QString(10, '=') + QString(3, ' ') + QString(80, '=') + QString(10, ' ')
        + QString(66, '=') + "\r\n")
        .toUtf8();
}

QByteArray entry(int line, const QString& kind, const QString& message, const QString& data)
{
    const QString number = QString::number(line).rightJustified(10, '0');
    return (
        number + "   " + kind + " / " + message + QString(103 - (message.size() + 17), ' ') + data + "\r\n")
        .toUtf8();
}

} // namespace

TEST(SingleFileRun, ACheckEndedByAFailureNeverPassesForClean)
{
    Installation inst;
    inst.writeTable("specialchartbl.tbl",
        "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n"
        "\"(a+)+(\",\"Broken\",\"WARNING\",\"I\"\r\n");
    const QString input = inst.writeInput("a.xml", "<a>aaa</a>\r\n");
    const auto result = inst.run({ input });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.standardError.startsWith("quorvane: a.xml: CheckSpecialCharacters ended early: "))
        << result.standardError.toStdString();
}

TEST(SingleFileRun, WritesWholeReportsForFindingsOfBothRules)
{
    Installation inst;
    inst.writeTable("routinedecltbl.tbl", "Tag | Routine | Parameter\r\n<fn> | UNDELFNREF | E\r\n");
    inst.writeTable("specialchartbl.tbl",
        "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n"
        "\"(space)(space)\",\"Double space found\",\"WARNING\",\"I\"\r\n");
    const QString input
        = inst.writeInput("a.xml", "<doc>\r\n<p>a  b</p>\r\n<fn fnref=\"1\">1 x</fn>\r\n</doc>");

    const auto result = inst.run({ input });
    EXPECT_EQ(result.exitCode, 1) << result.standardError.toStdString();
    EXPECT_EQ(result.standardError, "");

    const QByteArray expectedErrors = reportHeader("a", "Error")
        + entry(3, "E", "fnref value found in the first two words", "<fn fnref=\"1\">1 x</fn>")
        + "\r\nTotal No. of Errors: 1\r\n";
    const QByteArray expectedWarnings = reportHeader("a", "Warning")
        + entry(2, "W", "Double space found", "  ") + "\r\nTotal No. of Warnings: 1\r\n";
    EXPECT_EQ(Installation::read(inst.workPath() + "a.ERR"), expectedErrors);
    EXPECT_EQ(Installation::read(inst.workPath() + "a.WRN"), expectedWarnings);
    // The output folder and the base name are joined without a separator.
    EXPECT_EQ(Installation::read(inst.outputPath() + "/inputa.ERR"), expectedErrors);
    // An input with errors does not pass on to the output folder.
    EXPECT_FALSE(QFile::exists(inst.outputPath() + "/inputa.xml"));
}

TEST(SingleFileRun, RunsBeforeProgramsOnACopyAndAfterProgramsThenCleansUp)
{
    Installation inst;
    const QString log = inst.root() + "plugins.log";
    const auto script = [&](const QString& name, const QString& word) {
        return inst.writeScript(name, ("echo \"" + word + " $1\" >> '" + log + "'\n").toUtf8());
    };
    inst.appendIni("[PLUG-IN]\r\nINPUTPLUGIN = " + script("one.sh", "before1") + " | "
        + script("two.sh", "before2") + "\r\nOUTPUTPLUGIN = " + script("three.sh", "after") + "\r\n");
    QDir().mkpath(inst.tempPath() + "Quorvane_Temp");
    QFile(inst.tempPath() + "Quorvane_Temp/left-over.txt").open(QIODevice::WriteOnly);
    const QString input = inst.writeInput("c.xml", "<doc/>\r\n");

    const auto result = inst.run({ input });
    EXPECT_EQ(result.exitCode, 0) << result.standardError.toStdString();
    const QString copy = inst.tempPath() + "Quorvane_Temp/c.xml";
    EXPECT_EQ(QString::fromUtf8(Installation::read(log)),
        "before1 " + copy + "\nbefore2 " + copy + "\nafter " + copy + "\n");
    EXPECT_TRUE(QFile::exists(input));
    EXPECT_FALSE(QDir(inst.tempPath() + "Quorvane_Temp").exists());
}

// Runs that cannot check their input end with status 2 and lose nothing: the
// reports of an earlier run stay whole and the working folder goes.
TEST(SingleFileRun, UnreadableOrMisplacedInputEndsWithStatusTwoAndLosesNothing)
{
    Installation inst;
    inst.writeTable("specialchartbl.tbl",
        "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n"
        "\"x\",\"Found x\",\"ERROR\",\"I\"\r\n");
    const QString input = inst.writeInput("a.xml", "<a>x</a>\r\n");
    ASSERT_EQ(inst.run({ input }).exitCode, 1);
    const QByteArray earlierReport = Installation::read(inst.workPath() + "a.ERR");
    ASSERT_TRUE(earlierReport.contains("Found x"));

    // A before-program that deletes the staged copy leaves nothing to read.
    inst.appendIni("[PLUG-IN]\r\nINPUTPLUGIN = " + inst.writeScript("remove.sh", "rm -f \"$1\"\n") + "\r\n");
    const auto result = inst.run({ input });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.standardError.contains("Error in Reading Input File!"))
        << result.standardError.toStdString();
    EXPECT_EQ(Installation::read(inst.workPath() + "a.ERR"), earlierReport);
    EXPECT_FALSE(QFile::exists(inst.workPath() + "a.ERR.part"));
    EXPECT_FALSE(QDir(inst.tempPath() + "Quorvane_Temp").exists());
}

TEST(SingleFileRun, AnInputTheRunWouldWriteOrRemoveIsRefusedAndKept)
{
    struct Row {
        QString input; // below the installation
        QString ini; // appended to the configuration
        QStringList options;
        QString refusal; // part of standard error; %ROOT% is the installation
    };
    const QString rewritten = " would be overwritten or removed by this run as %ROOT%";
    const Row rows[] = {
        { "work/notes.ERR", "", {}, "is where its own report would be written" },
        { "work/quorvane.LOG", "", {}, rewritten + "work/quorvane.LOG." },
        { "work/quorvane_ErrView.LOG", "", {}, rewritten + "work/quorvane_ErrView.LOG." },
        { "work/error.edt", "", {}, rewritten + "work/error.edt." },
        { "work/notes.LOG", "[I/O PATHS]\r\nEDITORPROGRAM = KV7\r\n", {}, rewritten + "work/notes.LOG." },
        { "temp/Quorvane_Temp/a.xml", "", {}, "lies in the temporary folder, which this run removes" },
        { "input/a.xml", "", { "--json", "%ROOT%input/a.xml" }, "is also named as an output of this run" },
    };
    const QByteArray notes = "<a>notes that must survive</a>\r\n";
    for (const Row& row : rows) {
        Installation inst;
        inst.appendIni(row.ini);
        const QString input = inst.writeInput("../" + row.input, notes);
        QStringList arguments;
        for (const QString& argument : row.options + QStringList { input })
            arguments << QString(argument).replace("%ROOT%", inst.root());
        const auto result = inst.run(arguments);
        EXPECT_EQ(result.exitCode, 2) << row.input.toStdString();
        EXPECT_TRUE(result.standardError.contains(QString(row.refusal).replace("%ROOT%", inst.root())))
            << result.standardError.toStdString();
        EXPECT_EQ(Installation::read(input), notes) << row.input.toStdString();
        EXPECT_FALSE(QFile::exists(inst.workPath() + "quorvane.LOG") && row.input != "work/quorvane.LOG");
    }
}

// Outside programs that do not do their work are named; the run goes on.
TEST(SingleFileRun, OutsideProgramsThatFailAreNamed)
{
    Installation inst;
    const QString input = inst.writeInput("a.xml", "<a/>\r\n");
    const QString failing = inst.writeScript("fail.sh", "exit 3\n");
    const QString slow = inst.writeScript("slow.sh", "sleep 30\n");
    inst.appendIni("[PLUG-IN]\r\nINPUTPLUGIN = " + failing + "\r\nOUTPUTPLUGIN = " + slow + "\r\n");
    const auto result = inst.run({ "--plugin-timeout", "1", input });
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardError,
        "quorvane: outside program " + failing + " ended with status 3\n" + "quorvane: outside program "
            + slow + " stopped after 1 s\n");
    EXPECT_EQ(inst.run({ "--plugin-timeout", "0", input }).exitCode, 2);
}

// Two runs sharing a temporary folder take turns, so neither loses its staged input.
TEST(SingleFileRun, RunsSharingATemporaryFolderTakeTurns)
{
    Installation inst;
    inst.writeTable("specialchartbl.tbl",
        "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n"
        "\"x\",\"Found x\",\"ERROR\",\"I\"\r\n");
    const QString first = inst.writeInput("first.xml", "<a>x</a>\r\n");
    const QString second = inst.writeInput("second.xml", "<a>x</a>\r\n");
    inst.appendIni("[PLUG-IN]\r\nINPUTPLUGIN = " + inst.writeScript("slow.sh", "sleep 1\n") + "\r\n");
    inst.run({ "--version" }); // writes the configuration
    auto start = [&](const QString& input) {
        auto process = std::make_unique<QProcess>();
        process->setWorkingDirectory(inst.root());
        process->start(
            QStringLiteral(QUORVANE_EXECUTABLE), { "--app-dir", inst.root() + "app/", "--headless", input });
        return process;
    };
    auto one = start(first);
    // The second starts once the first holds the folder, however slow the machine.
    for (int waited = 0; !QFileInfo::exists(inst.tempPath() + "Quorvane_Temp.lock") && waited < 30000;
         waited += 10)
        QThread::msleep(10);
    auto two = start(second);
    ASSERT_TRUE(one->waitForFinished(60000));
    ASSERT_TRUE(two->waitForFinished(60000));
    EXPECT_EQ(one->exitCode(), 1);
    EXPECT_EQ(two->exitCode(), 1) << two->readAllStandardError().constData();
    EXPECT_TRUE(QString::fromUtf8(two->readAllStandardError())
                    .startsWith("quorvane: waiting for another run that uses "));
    EXPECT_TRUE(Installation::read(inst.workPath() + "second.ERR").contains("Found x"));
}
