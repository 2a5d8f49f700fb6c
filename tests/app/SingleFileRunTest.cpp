#include "report/ReportFormat.h"
#include "support/Installation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QThread>
#include <gtest/gtest.h>
#include <memory>

namespace {

using ReportFormat::EntryKind;

// The layout itself is pinned byte for byte by the report tests and the
// golden runs of the samples.
QByteArray reportHeader(const QString& baseName, EntryKind kind)
{
    return (ReportFormat::reportHeader(baseName, kind, false).join("\r\n") + "\r\n").toUtf8();
}

} // namespace

// A check that ends on a failure fails its file: the reports say so before
// their totals, the input is not passed on, and the machine-readable outputs
// mark the file failed (the golden runs failing_check_*). Memory running out,
// under a shell limit here, fails it alike.
TEST(SingleFileRun, MemoryRunningOutFailsTheFile)
{
    Installation inst;
    inst.writeSpecialCharacters("\"a\",\"Broken\",\"WARNING\",\"I\"\r\n");
    const QString input = inst.writeInput("a.xml", "<a>" + QByteArray(40, 'a') + "b c</a>\r\n");
    inst.setLimits("-v 200000");
    const auto result = inst.run({ "--json", inst.root() + "o.json", input });
    EXPECT_EQ(result.exitCode, 2);
    for (const char* report : { "a.ERR", "a.WRN" }) {
        const QByteArray text = Installation::read(inst.workPath() + report);
        EXPECT_TRUE(text.contains("\r\nThe check did not finish: CheckSpecialCharacters: ")
            && text.contains("Not enough memory"))
            << text.toStdString();
    }
    EXPECT_FALSE(QFile::exists(inst.outputPath() + "/inputa.xml"));
    const QJsonObject json = QJsonDocument::fromJson(Installation::read(inst.root() + "o.json")).object();
    EXPECT_TRUE(json["files"][0]["failed"].toBool());
}

namespace {

// Whether the process runs: a process that was stopped and not yet reaped
// (a zombie) does not.
bool processRuns(const QByteArray& pid)
{
    const QByteArray stat = Installation::read("/proc/" + QString::fromLatin1(pid.trimmed()) + "/stat");
    const qsizetype state = stat.lastIndexOf(')') + 2;
    return !stat.isEmpty() && state < stat.size() && stat[state] != 'Z';
}

} // namespace

// An input plug-in that does not do its work fails the file: what it left is
// neither validated nor passed on, and the reports say why (the golden runs
// plugin_*). One that runs past its time is stopped, and what it started
// goes with it: left running, that could still write the staged input.
TEST(SingleFileRun, AnOutsideProgramPastItsTimeIsStoppedWithWhatItStarted)
{
    Installation inst;
    inst.writeSpecialCharacters("\"x\",\"Found x\",\"ERROR\",\"I\"\r\n");
    const QString input = inst.writeInput("a.xml", "<a>x</a>\r\n");
    const QString program = inst.writeScript(
        "slow.sh", "sleep 30 &\necho $! > " + inst.root().toUtf8() + "child.pid\nsleep 30\n");
    inst.appendIni("[PLUG-IN]\r\nINPUTPLUGIN = " + program + "\r\n");
    const auto result = inst.run({ "--plugin-timeout", "1", input });
    const QString failure = "outside program " + program + " stopped after 1 s";
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.standardError.contains(failure)) << result.standardError.toStdString();
    EXPECT_EQ(Installation::read(inst.workPath() + "a.ERR"),
        reportHeader("a", EntryKind::Error) + "The check did not finish: "
            + (failure + "; the file was not validated").toUtf8() + "\r\n\r\nTotal No. of Errors: 0\r\n");
    EXPECT_FALSE(QFile::exists(inst.outputPath() + "/inputa.xml"));
    const QByteArray child = Installation::read(inst.root() + "child.pid");
    ASSERT_FALSE(child.isEmpty());
    EXPECT_FALSE(processRuns(child));
}

// Two runs sharing a temporary folder take turns, so neither loses its staged input.
TEST(SingleFileRun, RunsSharingATemporaryFolderTakeTurns)
{
    Installation inst;
    inst.writeSpecialCharacters("\"x\",\"Found x\",\"ERROR\",\"I\"\r\n");
    const QString first = inst.writeInput("first.xml", "<a>x</a>\r\n");
    const QString second = inst.writeInput("second.xml", "<a>x</a>\r\n");
    // The first run's before-program holds it until the second is seen waiting.
    const QString go = inst.root() + "go";
    inst.appendIni("[PLUG-IN]\r\nINPUTPLUGIN = "
        + inst.writeScript(
            "hold.sh", ("for i in $(seq 3000); do [ -e '" + go + "' ] && break; sleep 0.01; done\n").toUtf8())
        + "\r\n");
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
    two->setReadChannel(QProcess::StandardError);
    QByteArray waiting;
    while (!waiting.contains("waiting for another run") && two->waitForReadyRead(30000))
        waiting += two->readAllStandardError();
    QFile(go).open(QIODevice::WriteOnly);
    ASSERT_TRUE(one->waitForFinished(60000));
    ASSERT_TRUE(two->waitForFinished(60000));
    EXPECT_EQ(one->exitCode(), 1);
    EXPECT_EQ(two->exitCode(), 1);
    EXPECT_TRUE(waiting.startsWith("quorvane: waiting for another run that uses ")) << waiting.constData();
    EXPECT_TRUE(Installation::read(inst.workPath() + "second.ERR").contains("Found x"));
}

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

} // namespace

// Every write is checked: a report or copy cut short by a full disk (here a
// file size limit) fails the file, and no piece of it is left under its
// name, nor an earlier run's file that would pass for it.
TEST(SingleFileRun, WritesThatFailFailTheFileAndLeaveNoPiece)
{
    QByteArray clean;
    while (clean.size() < 200'000)
        clean += "<p>A clean line of text.</p>\r\n";
    QByteArray doubleSpaces;
    for (int i = 0; i < 2000; ++i)
        doubleSpaces += "<p>a  b</p>\r\n";
    const struct {
        const char* name;
        QByteArray input;
        QString limits;
        QString unwritten; // relative to the installation
        bool workReportIsFolder;
    } rows[] = {
        { "the copy of a clean input", clean, "-f 64", "output//inputa.xml", false },
        { "a warning report", doubleSpaces, "-f 64", "work/a.WRN.part", false },
        { "a report that cannot be put in place", "<p>a  b</p>\r\n", "", "work/a.WRN", true },
    };
    for (const auto& row : rows) {
        Installation inst;
        inst.writeSpecialCharacters("\"(space)(space)\",\"Double space found\",\"WARNING\",\"I\"\r\n");
        const QString input = inst.writeInput("a.xml", row.input);
        // An earlier run's report and copy, and what a killed run left.
        for (const char* earlier : { "work/a.WRN", "output//inputa.WRN", "output//inputa.xml" })
            writeFile(inst.root() + earlier, "from an earlier run");
        for (const char* piece : { "work/old.ERR.part", "output//inputold.xml.part" })
            writeFile(inst.root() + piece, "cut short");
        if (row.workReportIsFolder) {
            QFile::remove(inst.workPath() + "a.WRN");
            writeFile(inst.workPath() + "a.WRN/inside", "keeps the folder from going");
        }
        inst.setLimits(row.limits);
        const auto result = inst.run({ input });
        EXPECT_EQ(result.exitCode, 2) << row.name;
        EXPECT_TRUE(result.standardError.contains("cannot write " + inst.root() + row.unwritten + ": "))
            << row.name << ": " << result.standardError.toStdString();
        EXPECT_FALSE(QFile::exists(inst.outputPath() + "/inputa.xml")) << row.name;
        for (const char* earlier : { "work/a.WRN", "output//inputa.WRN" }) {
            EXPECT_NE(Installation::read(inst.root() + earlier), "from an earlier run")
                << row.name << " " << earlier;
        }
        const QStringList pieces
            = QDir(inst.workPath()).entryList({ "*.part" }) + QDir(inst.outputPath()).entryList({ "*.part" });
        EXPECT_TRUE(pieces.isEmpty()) << row.name << ": " << pieces.join(" ").toStdString();
    }

    // The copy the before-programs work on is checked as well.
    Installation inst;
    const QString input = inst.writeInput("a.xml", clean);
    inst.appendIni("[PLUG-IN]\r\nINPUTPLUGIN = " + inst.writeScript("ok.sh", "exit 0\n") + "\r\n");
    inst.setLimits("-f 64");
    const auto result = inst.run({ input });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.standardError.startsWith("quorvane: cannot copy " + input + " to "))
        << result.standardError.toStdString();
    EXPECT_TRUE(
        Installation::read(inst.workPath() + "a.ERR").contains("The check did not finish: cannot copy "));
    EXPECT_FALSE(QFile::exists(inst.outputPath() + "/inputa.xml"));
}
