#include "app/BatchRun.h"

#include "app/RunState.h"
#include "app/Startup.h"
#include "core/RunAborted.h"
#include "report/FindingOutputs.h"
#include "support/Installation.h"
#include "support/RecordingOperator.h"

#include <QDir>
#include <QFile>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

const QByteArray kWithError = "<doc>\r\n<fn fnref=\"1\">1 x</fn>\r\n</doc>\r\n";
const QByteArray kClean = "<doc>fine</doc>\r\n";

// Remembers what the runner told it, in order.
struct RecordingObserver : BatchObserver {
    void batchStarted() override { events << "started"; }
    void fileStarted(int number, int total, const QString& inputPath) override
    {
        events << QStringLiteral("%1/%2 %3").arg(number).arg(total).arg(inputPath);
    }
    void batchFinished() override { events << "finished"; }
    QStringList events;
};

// An installation started up in this process, in batch mode, with one rule
// that finds an error in kWithError.
class BatchRunTest : public ::testing::Test {
protected:
    void startUp()
    {
        inst.writeTable("routinedecltbl.tbl", "Tag | Routine | Parameter\r\n<fn> | UNDELFNREF | E\r\n");
        inst.writeConfiguration();
        state.ownInstallation().config.ApplicationPath = inst.appFolder() + "/";
        ASSERT_EQ(Main(state, QString()), RunMode::Batch);
    }
    QString input(const QString& relativePath, const QByteArray& content = kClean)
    {
        return inst.writeInput(relativePath, content);
    }
    BatchRequest request(const QString& folder, const QStringList& selected) const
    {
        return { folder, selected, QString(), inst.workPath(), inst.outputPath() };
    }
    static QStringList messageTexts(const RecordingOperator& ui)
    {
        QStringList texts;
        for (const RecordedMessage& message : ui.messages)
            texts << message.title + ": " + message.text;
        return texts;
    }
    static bool exists(const QString& path) { return QFileInfo::exists(path); }

    Installation inst;
    RecordingOperator ui;
    RunState state { ui };
    RecordingObserver observer;
};

} // namespace

TEST(BatchFileMask, IgnoresCaseAndPassesNamesWithoutExtension)
{
    struct Row {
        QString mask, name;
        bool passes;
    };
    const Row rows[] = {
        // Case, other extensions and names without one: the folders-mode walk below.
        { "|xml|sgm|", "a.b.xml", true }, // the last extension counts
        { "|xml|sgm|", "a.", false }, // an empty extension is no extension of the mask
        { "|xml|sgm|", "a.ml", false }, // a whole extension, not a piece of one
        { "", "a.txt", true }, // no mask: every file
    };
    for (const Row& row : rows)
        EXPECT_EQ(PassesFileMask(row.mask, row.name), row.passes)
            << row.mask.toStdString() << " " << row.name.toStdString();
}

TEST_F(BatchRunTest, FilesModeListsEveryVisibleFileByNameAndJoinsOutputWithTheFolderName)
{
    inst.set("INPUTTYPE", "files");
    inst.appendIni("[I/O PATHS]\r\nINPUTFILEMASK = xml\r\n");
    startUp();
    const QString folder = inst.inputPath() + "batch7/";
    input("batch7/b.XML");
    input("batch7/a.xml", kWithError);
    input("batch7/c.txt");
    input("batch7/README");
    input("batch7/.gitkeep");
    QDir().mkpath(folder + "sub");
    ASSERT_EQ(BatchListEntries(state.config, folder), QStringList({ "README", "a.xml", "b.XML", "c.txt" }));

    // The mask belongs to the folder walk: a listed file is validated whatever its extension.
    const int status = RunBatch(state, request(folder, { "a.xml", "b.XML", "c.txt" }), observer);
    EXPECT_EQ(status, ExitStatus::ErrorsFound);
    EXPECT_EQ(observer.events,
        QStringList({ "started", "1/3 " + folder + "a.xml", "2/3 " + folder + "b.XML",
            "3/3 " + folder + "c.txt", "finished" }));
    EXPECT_TRUE(Installation::read(inst.workPath() + "a.ERR").contains("Total No. of Errors: 1"));
    EXPECT_EQ(Installation::read(inst.workPath() + "b.ERR"), "");
    // The output folder is the output path and the input folder's name, joined
    // directly with each report's base name.
    EXPECT_TRUE(QFileInfo(inst.outputPath() + "batch7").isDir());
    EXPECT_TRUE(exists(inst.outputPath() + "batch7a.ERR"));
    EXPECT_EQ(Installation::read(inst.outputPath() + "batch7b.XML"), kClean);
    EXPECT_FALSE(exists(inst.outputPath() + "batch7a.xml"));
    EXPECT_FALSE(exists(inst.workPath() + "README.ERR"));

    // A folder given as a relative path names the folder it leads to.
    ASSERT_TRUE(QFile::remove(inst.outputPath() + "batch7c.txt"));
    ASSERT_EQ(RunBatch(state, request(folder + "sub/..", { "c.txt" }), observer), ExitStatus::Clean);
    EXPECT_EQ(Installation::read(inst.outputPath() + "batch7c.txt"), kClean);
}

TEST_F(BatchRunTest, FoldersModeWalksNestedFoldersIntoMirroredTrees)
{
    inst.appendIni("[I/O PATHS]\r\nINPUTFILEMASK = xml|sgm\r\n");
    startUp();
    input("j1/a.xml", kWithError);
    input("j1/ch/b.XML");
    input("j1/ch/README");
    input("j1/ch/notes.txt");
    input("j1/ch/deep/c.sgm");
    input("j2/d.xml");
    input("loose.xml");
    ASSERT_EQ(BatchListEntries(state.config, inst.inputPath()), QStringList({ "j1", "j2" }));

    const int status = RunBatch(state, request(inst.inputPath(), { "j1" }), observer);
    EXPECT_EQ(status, ExitStatus::ErrorsFound);
    const QString in = inst.inputPath();
    // Files of a folder before its subfolders, each folder by name.
    EXPECT_EQ(observer.events,
        QStringList({ "started", "1/4 " + in + "j1/a.xml", "2/4 " + in + "j1/ch/README",
            "3/4 " + in + "j1/ch/b.XML", "4/4 " + in + "j1/ch/deep/c.sgm", "finished" }));
    const QString work = inst.workPath();
    const QString out = inst.outputPath();
    for (const QString report : { "j1/a", "j1/ch/README", "j1/ch/b", "j1/ch/deep/c" }) {
        EXPECT_TRUE(exists(work + report + ".ERR")) << report.toStdString();
        EXPECT_TRUE(exists(work + report + ".WRN")) << report.toStdString();
    }
    EXPECT_EQ(Installation::read(out + "j1/ch/b.XML"), kClean); // clean files pass on, inside their folder
    EXPECT_FALSE(exists(out + "j1/a.xml"));
    EXPECT_FALSE(exists(work + "j1/ch/notes.ERR"));
    EXPECT_FALSE(exists(work + "j2"));
    EXPECT_FALSE(exists(work + "loose.ERR"));
}

TEST_F(BatchRunTest, NothingSelectedWarnsAndRunsNothing)
{
    struct Row {
        const char* inputType;
        QString warning;
    };
    const Row rows[] = { { "FILES", "No file(s) selected !" }, { "SGML", "No folder(s) selected !" } };
    startUp();
    for (const Row& row : rows) {
        state.ownInstallation().config.InputType = row.inputType;
        state.taskCode.clear();
        ui.messages.clear();
        const BatchRequest empty { inst.inputPath(), {}, "T1", inst.workPath(), inst.outputPath() };
        EXPECT_EQ(RunBatch(state, empty, observer), ExitStatus::Refused);
        EXPECT_EQ(
            ui.messages, QList<RecordedMessage>({ { row.warning, kProgramTitle, MessageIcon::Warning } }));
        EXPECT_TRUE(observer.events.isEmpty());
        EXPECT_FALSE(exists(inst.workPath() + "quorvane.LOG"));
        // The boxes are taken before the selection is looked at.
        EXPECT_EQ(state.taskCode, "T1");
    }
}

TEST_F(BatchRunTest, AFailingFileEndsTheBatchWithItsReportsAndTheLogsClosed)
{
    inst.set("INPUTTYPE", "FILES");
    startUp();
    input("a.xml", kWithError);
    input("c.xml");
    // Listed when the operator chose it, gone by the time its turn comes.
    try {
        RunBatch(state, request(inst.inputPath(), { "a.xml", "gone.xml", "c.xml" }), observer);
        FAIL() << "the batch went on after a failure";
    } catch (const RunAborted& aborted) {
        EXPECT_EQ(aborted.exitStatus(), ExitStatus::Refused);
    }
    // Input loading says what it could not read; the failure ends the batch.
    ASSERT_FALSE(ui.messages.isEmpty());
    EXPECT_TRUE(ui.messages.last().text.startsWith("Error in Reading Input File!  -- Error: "))
        << messageTexts(ui).join("\n").toStdString();
    EXPECT_FALSE(messageTexts(ui).join("\n").contains("Complete Process"));
    EXPECT_TRUE(Installation::read(inst.workPath() + "a.ERR").contains("Total No. of Errors: 1"));
    // The failing file leaves no report that would look clean.
    EXPECT_FALSE(exists(inst.workPath() + "gone.ERR"));
    EXPECT_FALSE(exists(inst.workPath() + "gone.ERR.part"));
    EXPECT_FALSE(exists(inst.workPath() + "c.ERR"));
    EXPECT_TRUE(Installation::read(inst.workPath() + "quorvane.LOG").contains("Time Ended: "));
    EXPECT_EQ(observer.events.last(), "finished");
}

TEST_F(BatchRunTest, ListedFilesRunTheirBeforeProgramsBeforeTheReportsOpenWalkedFilesAfter)
{
    const QString log = inst.root() + "before.log";
    const QString script = inst.writeScript("before.sh",
        ("name=$(basename \"$1\" .xml)\nif [ -e \"$REPORTS/$name.ERR.part\" ]; then echo \"$1 open\" >> '"
            + log + "'; else echo \"$1 closed\" >> '" + log + "'; fi\n")
            .toUtf8());
    inst.appendIni("[PLUG-IN]\r\nINPUTPLUGIN = " + script + "\r\n");
    startUp();
    input("j1/a.xml");
    input("b.xml");
    const QString staged = inst.tempPath() + "Quorvane_Temp/";

    qputenv("REPORTS", inst.workPath().toUtf8());
    state.ownInstallation().config.InputType = "FILES";
    RunBatch(state, request(inst.inputPath(), { "b.xml" }), observer);
    qputenv("REPORTS", (inst.workPath() + "j1").toUtf8());
    state.ownInstallation().config.InputType = "SGML";
    RunBatch(state, request(inst.inputPath(), { "j1" }), observer);
    qunsetenv("REPORTS");

    // Both get a copy in the temporary folder; the input stays where it is.
    EXPECT_EQ(
        QString::fromUtf8(Installation::read(log)), staged + "b.xml closed\n" + staged + "a.xml open\n");
    EXPECT_TRUE(exists(inst.inputPath() + "j1/a.xml"));
    EXPECT_EQ(Installation::read(inst.workPath() + "quorvane.LOG")
                  .count("FilePath    : " + inst.inputPath().toUtf8()),
        1);
}

TEST_F(BatchRunTest, TheCommandLineChoosesEntriesByNameOrTakesTheWholeList)
{
    startUp();
    input("j1/a.xml");
    input("j2/b.xml");
    input("j3/c.xml");
    struct Row {
        QStringList entries;
        QStringList validated; // report folders that must exist afterwards
        QString refusal; // the critical message, empty when the batch runs
    };
    const Row rows[] = {
        { {}, { "j1", "j2", "j3" }, "" },
        { { "j3/", "j1", "j3" }, { "j3", "j1" }, "" }, // completion's "/" and a repeat are harmless
        { { "j1", "j9" }, {}, "j9 not found in %IN%" },
        { { "j1/a.xml" }, {}, "j1/a.xml not found in %IN%" },
    };
    for (const Row& row : rows) {
        QDir(inst.workPath()).removeRecursively();
        QDir().mkpath(inst.workPath());
        ui.messages.clear();
        BatchCommand command;
        command.folder = inst.inputPath();
        command.entries = row.entries;
        const int status = RunBatchCommand(state, command, observer);
        if (row.refusal.isEmpty()) {
            EXPECT_EQ(status, ExitStatus::Clean);
            for (const QString& folder : row.validated)
                EXPECT_TRUE(exists(inst.workPath() + folder)) << folder.toStdString();
            EXPECT_EQ(QDir(inst.workPath()).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(),
                row.validated.size());
        } else {
            EXPECT_EQ(status, ExitStatus::Refused);
            const QString text = QString(row.refusal).replace("%IN%", inst.inputPath());
            EXPECT_EQ(
                ui.messages, QList<RecordedMessage>({ { text, kProgramTitle, MessageIcon::Critical } }));
            EXPECT_FALSE(exists(inst.workPath() + "quorvane.LOG"));
        }
    }
}

TEST_F(BatchRunTest, NextAllocatedFolderIsTheJobFilesFirstNameBelowTheCurrentFolder)
{
    startUp();
    const QString current = inst.inputPath();
    QDir().mkpath(current + "job42");
    const QString jobFile = inst.root() + "klmx.ini";
    struct Row {
        const char* content; // nullptr: no job file
        QString folder;
        QString error;
    };
    const Row rows[] = {
        { "\r\n   \r\n job42 \r\njob43\r\n", current + "job42/", "" },
        { "job43\n", "", current + "job43 doesn't exist!" },
        { nullptr, "", jobFile + " doesn't exist!" },
        { " \r\n\r\n", "", jobFile + " names no job folder!" },
    };
    state.ownInstallation().config.KlmxIniFile = jobFile;
    for (const Row& row : rows) {
        QFile::remove(jobFile);
        if (row.content) {
            QFile file(jobFile);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(row.content);
        }
        // The folder list's path may come with or without its final "/".
        for (const QString& from : { current, current.chopped(1) }) {
            const AllocatedFolder next = NextAllocatedFolder(state.config, from);
            EXPECT_EQ(next.folder, row.folder) << (row.content ? row.content : "no file");
            EXPECT_EQ(next.errorText, row.error) << (row.content ? row.content : "no file");
        }
    }
}

TEST_F(BatchRunTest, TheWalkNamesWhatItCannotTakeAndFollowsFolderLinksOnce)
{
    startUp();
    const QString in = inst.inputPath();
    input("j1/a.xml");
    input("j1/ch/b.xml");
    const QString elsewhere = inst.root() + "elsewhere/";
    QDir().mkpath(elsewhere);
    QFile(elsewhere + "c.xml").open(QIODevice::WriteOnly);
    // A name that is no UTF-8 ("caf\xE9", Latin-1) cannot even be given to QFile.
    const QByteArray badName = QFile::encodeName(in + "j1/") + "caf\xE9.xml";
    ASSERT_EQ(::close(::open(badName.constData(), O_CREAT | O_WRONLY, 0644)), 0);
    ASSERT_TRUE(QFile::link(elsewhere, in + "j1/l1"));
    ASSERT_TRUE(QFile::link(elsewhere, in + "j1/l2"));
    ASSERT_TRUE(QFile::link(in + "j1", in + "j1/ch/up"));
    ASSERT_TRUE(QFile::link(in + "j1/gone", in + "j1/dangling"));
    // Each kind in name order: entries that cannot be read, then files that cannot be taken.
    QStringList unreadable = { "cannot read " + in + "j1/dangling: No such file or directory",
        "cannot validate " + in + "j1/caf\\xe9.xml: its name is not valid UTF-8" };
    const bool permissionsHold = ::geteuid() != 0; // root reads every folder
    if (permissionsHold) {
        QDir().mkpath(in + "j1/locked");
        QFile::setPermissions(in + "j1/locked", QFileDevice::WriteOwner);
        unreadable << "cannot read the folder " + in + "j1/locked/: Permission denied";
    }

    const int status = RunBatch(state, request(in, { "j1" }), observer);
    if (permissionsHold)
        QFile::setPermissions(
            in + "j1/locked", QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(status, ExitStatus::Refused);
    const QStringList told = unreadable
        + QStringList { "not walked into " + in + "j1/ch/up/: a link to a folder already walked",
              "not walked into " + in + "j1/l2/: a link to a folder already walked" };
    EXPECT_EQ(ui.diagnostics, told);
    const QString log = QString::fromUtf8(Installation::read(inst.workPath() + "quorvane.LOG"));
    for (const QString& line : told)
        EXPECT_TRUE(log.contains(line + "\r\n")) << line.toStdString();
    // Everything it could read was validated, through the first link too.
    EXPECT_EQ(observer.events,
        QStringList({ "started", "1/3 " + in + "j1/a.xml", "2/3 " + in + "j1/ch/b.xml",
            "3/3 " + in + "j1/l1/c.xml", "finished" }));
    EXPECT_TRUE(exists(inst.workPath() + "j1/l1/c.ERR"));
    EXPECT_FALSE(exists(inst.workPath() + "j1/l2"));
}

// The window runs one batch after another on one record: the folders one
// batch was given are its own, and the next batch without any writes where
// the configuration says.
TEST_F(BatchRunTest, FoldersGivenToOneBatchAreNotTheNextOnes)
{
    startUp();
    input("j1/a.xml", kWithError);
    const QString otherWork = inst.root() + "otherWork/";
    const QString otherOutput = inst.root() + "otherOutput/";
    QDir().mkpath(otherWork);
    QDir().mkpath(otherOutput);
    BatchCommand command;
    command.folder = inst.inputPath();
    command.workPath = otherWork;
    command.outputPath = otherOutput;
    EXPECT_EQ(RunBatchCommand(state, command, observer), ExitStatus::ErrorsFound);
    EXPECT_TRUE(exists(otherWork + "j1/a.ERR"));
    EXPECT_TRUE(exists(otherWork + "quorvane.LOG"));
    EXPECT_FALSE(exists(inst.workPath() + "quorvane.LOG"));

    command.workPath.reset();
    command.outputPath.reset();
    EXPECT_EQ(RunBatchCommand(state, command, observer), ExitStatus::ErrorsFound);
    EXPECT_TRUE(exists(inst.workPath() + "j1/a.ERR"));
    EXPECT_TRUE(exists(inst.workPath() + "quorvane.LOG"));
    EXPECT_TRUE(exists(inst.outputPath() + "j1"));
    EXPECT_EQ(state.config.WorkPath, inst.workPath());
}

TEST_F(BatchRunTest, TheWholeListNamesWhatItCannotShow)
{
    inst.set("INPUTTYPE", "FILES");
    startUp();
    input("a.xml");
    const QByteArray badName = QFile::encodeName(inst.inputPath()) + "b\xFF.xml";
    ASSERT_EQ(::close(::open(badName.constData(), O_CREAT | O_WRONLY, 0644)), 0);
    BatchCommand command;
    command.folder = inst.inputPath();
    EXPECT_EQ(RunBatchCommand(state, command, observer), ExitStatus::Refused);
    EXPECT_EQ(ui.diagnostics,
        QStringList({ "cannot validate " + inst.inputPath() + "b\\xff.xml: its name is not valid UTF-8" }));
    EXPECT_TRUE(exists(inst.workPath() + "a.ERR"));
    // Entries named one by one leave the others out on purpose.
    ui.diagnostics.clear();
    command.entries = QStringList { "a.xml" };
    EXPECT_EQ(RunBatchCommand(state, command, observer), ExitStatus::Clean);
    EXPECT_TRUE(ui.diagnostics.isEmpty());
}

TEST_F(BatchRunTest, TheRunsOwnFoldersInsideTheInputTreeAreNeverWalked)
{
    startUp();
    const QString in = inst.inputPath();
    input("j1/a.xml", kWithError);
    input("j1/b.xml");
    const QString work = in + "j1/reports/";
    const QString output = in + "j1/copies/";
    QDir().mkpath(work);
    QDir().mkpath(output);
    const QStringList told { "not walked into " + work + ": it is the working folder of this run",
        "not walked into " + output + ": it is the output folder of this run" };
    // Twice: the second run finds the first one's reports and copies in place.
    for (int run = 0; run < 2; ++run) {
        ui.diagnostics.clear();
        observer.events.clear();
        EXPECT_EQ(
            RunBatch(state, { in, { "j1" }, QString(), work, output }, observer), ExitStatus::ErrorsFound);
        QStringList sortedTold = ui.diagnostics;
        sortedTold.sort();
        EXPECT_EQ(sortedTold, QStringList({ told[1], told[0] }));
        EXPECT_EQ(observer.events.size(), 4) << observer.events.join(", ").toStdString();
    }
    EXPECT_TRUE(exists(work + "j1/a.ERR"));
    EXPECT_TRUE(exists(output + "j1/b.xml"));
    EXPECT_FALSE(exists(work + "j1/reports"));
    EXPECT_FALSE(exists(work + "j1/copies"));
}

TEST_F(BatchRunTest, AnInputTheBatchWouldWriteIsRefusedBeforeAnythingIsWritten)
{
    struct Row {
        const char* inputType;
        QString entry;
        QString outputPath; // empty: the installation's
        QString refused; // the input named in the refusal, below the input folder
        QString target = {}; // below the installation, what `refused` links to; empty: no link
        QString says = " would be overwritten or removed";
    };
    const Row rows[] = {
        // The working folder listed as the batch folder: its program log is an input.
        { "FILES", "quorvane.LOG", "", "quorvane.LOG" },
        // Copies of a walked folder mirrored onto the folder itself.
        { "SGML", "j1", "%IN%", "j1/a.xml" },
        // A link to a file in the temporary folder, which goes when the run ends.
        { "FILES", "staged.xml", "", "staged.xml", "temp/Quorvane_Temp/staged.xml",
            " lies in the temporary folder" },
    };
    startUp();
    for (const Row& row : rows) {
        state.ownInstallation().config.InputType = row.inputType;
        const QString in = inst.inputPath();
        const QByteArray kept = "<doc>kept</doc>\r\n";
        QString keptAt = in + row.refused;
        if (row.target.isEmpty()) {
            input(row.refused, kept);
        } else {
            keptAt = inst.writeInput("../" + row.target, kept);
            ASSERT_TRUE(QFile::link(keptAt, in + row.refused));
        }
        ui.messages.clear();
        const QString output = row.outputPath.isEmpty() ? inst.outputPath() : in;
        EXPECT_THROW(RunBatch(state, { in, { row.entry }, QString(), in, output }, observer), RunAborted);
        ASSERT_EQ(ui.messages.size(), 1);
        EXPECT_TRUE(ui.messages[0].text.startsWith(in + row.refused + row.says))
            << ui.messages[0].text.toStdString();
        EXPECT_EQ(Installation::read(keptAt), kept);
        QFile::remove(in + row.refused);
    }
}

TEST_F(BatchRunTest, ARefusedProcessTakesAwayTheOutputsOfTheOneBefore)
{
    startUp();
    input("j1/a.xml");
    const QString json = inst.root() + "run.json";
    FindingOutputs outputs("Quorvane", "1", { json, {}, {} });
    state.findingSinks.subscribe(outputs);
    const BatchRequest refusals[] = {
        { inst.inputPath(), {}, QString(), inst.workPath(), inst.outputPath() },
        { inst.inputPath(), { "j1" }, QString(), inst.workPath(), inst.root() + "nowhere" },
    };
    for (const BatchRequest& refused : refusals) {
        ASSERT_EQ(RunBatch(state, request(inst.inputPath(), { "j1" }), observer), ExitStatus::Clean);
        ASSERT_TRUE(exists(json));
        EXPECT_EQ(RunBatch(state, refused, observer), ExitStatus::Refused);
        EXPECT_FALSE(exists(json)) << refused.outputPath.toStdString();
    }
}
