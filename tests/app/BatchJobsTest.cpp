#include "app/BatchJobs.h"

#include "Corpus.h"
#include "app/BatchRun.h"
#include "app/RunState.h"
#include "app/Startup.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "core/RunAborted.h"
#include "rules/TextValidity.h"
#include "support/Installation.h"
#include "support/RecordingOperator.h"
#include "support/TempDir.h"

#include <QDirIterator>
#include <QFile>
#include <gtest/gtest.h>
#include <map>

namespace {

const QDateTime kFixedTime(QDate(2026, 3, 15), QTime(9, 30, 5));
constexpr int kGeneratedFiles = 40;

// Files whose state runs on into the next one, beside the generated batch:
// a section left open whose title comes in the next file (the title's rule
// looks at the enclosing section), a list whose labels go on counting, a
// section closed two files later.
const std::pair<const char*, QByteArray> kCarryOver[] = {
    { "carry/a.xml",
        "<article id=\"c1\">\r\n<body>\r\n<sec id=\"s1\">\r\n<p>An open section with a\r\nbreak.</p>\r\n"
        "<list "
        "list-type=\"order\"><item><label>1.</label>x</item><item><label>2.</label>y</item></list>\r\n" },
    { "carry/b.xml",
        "<title>A title that\r\nbreaks</title>\r\n<list list-type=\"order\"><item><label>3.</label>x</item>"
        "<item><label>5.</label>y</item></list>\r\n<p>Text \xE2\x80\x9Cquoted\xE2\x80\x9D.</p>\r\n" },
    { "carry/c.xml", "<p>Still in the section,\r\nand again.</p>\r\n</sec>\r\n</body>\r\n</article>\r\n" },
    { "carry/d.xml", "<p>Outside any section,\r\nnow.</p>\r\n" },
    { "last/z.xml", "<sec id=\"z\">\r\n<p>Left open at the end.</p>\r\n" },
    { "last/zz.xml", "A last file without a tag.\r\n" },
};

// The sample installation's tables and settings in a temporary installation,
// so that runs write nothing under examples/.
void installSampleRules(Installation& inst, bool columns)
{
    const QString examples = QStringLiteral(QUORVANE_EXAMPLES_DIR) + "/";
    const std::pair<const char*, const char*> tables[] = { { "ROUTINEDECLTBL", "routine.tbl" },
        { "TEXTVALIDITYTBL", "textvalidity.tbl" }, { "NOHRTDECLTBL", "nohrt.tbl" },
        { "WITHHRTDECLTBL", "withhrt.tbl" }, { "HYPHENATEDTBL", "hyphenated.tbl" },
        { "UNCONENTITIESTBL", "unconentities.tbl" }, { "NOLEADZEROTBL", "noleadzero.tbl" },
        { "ATTRIBUNCONTBL", "attribuncon.tbl" }, { "SPECIALCHARTBL", "characters.tbl" },
        { "CONVERT2ATTRIBTBL", "convert2attrib.tbl" }, { "CONVERT2TAGTBL", "convert2tag.tbl" } };
    for (const auto& [key, file] : tables)
        inst.set(key, inst.writeTable(file, Installation::read(examples + "tables/" + file)));
    inst.set("MAINLEXPATH", "/usr/share/hunspell/");
    inst.set("USERLEXPATH", examples + "lexicon/");
    inst.set("MAINLEXFILES", "en_US.dic, project.txt");
    inst.set("ATTRIBRANGESEPARATOR", "-|<space>to<space>");
    inst.set("MULTIHRTMAXCOUNT", "2");
    inst.set("CHECKMULTIHRT", "True|N/A");
    inst.set("CHECKFILENAME", "FALSE");
    inst.appendIni(
        QStringLiteral("[I/O PATHS]\r\nEDITORPROGRAM = ZEPH\r\nXYCOORDINATES = %1\r\nUTF8INPUT = true\r\n"
                       "INPUTFILEMASK = xml|sgm\r\n")
            .arg(columns ? "yes" : "no"));
}

// What the run's own sinks hear, in order: each file's start, its findings
// and its end.
class EventSink : public FindingSink {
public:
    void onFileStarted(const QString& inputPath) override { events << "start " + inputPath; }
    void onFinding(const Finding& f) override
    {
        events << QStringLiteral("%1:%2 %3 | %4").arg(f.line).arg(f.column).arg(f.message, f.data);
    }
    void onFileFailed(const QStringList& reasons) override { events << "failed " + reasons.join(" | "); }
    void onFileEnded() override { events << "end"; }
    QStringList events;
};

// Starts the installation up in the state, in batch mode, with a clock
// that stands still.
void startUp(const Installation& inst, RunState& state, const RecordingOperator& ui)
{
    inst.writeConfiguration();
    state.ownInstallation().config.ApplicationPath = inst.appFolder() + "/";
    try {
        EXPECT_EQ(Main(state, QString()), RunMode::Batch);
    } catch (const RunAborted&) {
        for (const RecordedMessage& message : ui.messages)
            ADD_FAILURE() << message.text.toStdString();
        throw;
    }
    state.report.now = [] { return kFixedTime; };
}

// Every file under the folder, by relative path.
std::map<QString, QByteArray> filesUnder(const QString& folder)
{
    std::map<QString, QByteArray> files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files[path.mid(folder.size())] = Installation::read(path);
    }
    return files;
}

// What one batch run leaves: every file written, the status, the operator's
// messages and the run state's carried values.
struct BatchResult {
    int status = -1;
    std::map<QString, QByteArray> work;
    std::map<QString, QByteArray> output;
    QStringList messages;
    QStringList diagnostics;
    QStringList findings; // what the run's own sinks heard
    QStringList openTags;
    QStringList lastTags; // the last tag and the last start tag the run saw
    QList<std::int32_t> stepNumbers; // by text-validity row
    std::int64_t errorEntries = 0;
    QList<int> progress; // the values the operator's progress bar was given
    int progressMaximum = -1;
};

// Runs the batch of the installation's input folder in a run state of its
// own, into its own working and output folders (one folder for both with
// `outputIsWork`).
BatchResult runBatch(const Installation& inst, const QString& name, int jobs,
    const QStringList& selected = {}, const QString& cacheFolder = {}, bool outputIsWork = false)
{
    RecordingOperator ui;
    RunState state(ui);
    state.installation->spelling.cacheFolder = cacheFolder;
    startUp(inst, state, ui);
    EventSink sink;
    state.findingSinks.subscribe(sink);
    const QString work = inst.root() + name + "-work/";
    const QString output = outputIsWork ? work : inst.root() + name + "-output/";
    QDir().mkpath(work); // the boxes name folders that exist
    QDir().mkpath(output);
    BatchRequest request { .inputFolder = inst.inputPath(),
        .selected = selected,
        .workPath = work,
        .outputPath = output,
        .jobs = jobs };
    if (request.selected.isEmpty())
        request.selected = BatchListEntries(state.config, inst.inputPath());
    BatchObserver observer;
    BatchResult result;
    try {
        result.status = RunBatch(state, request, observer);
    } catch (const RunAborted& aborted) {
        result.status = 100 + aborted.exitStatus();
    }
    result.work = filesUnder(work);
    result.output = filesUnder(output);
    for (const RecordedMessage& message : ui.messages)
        result.messages << QString(message.title + ": " + message.text).replace(name + "-work/", "WORK/");
    result.diagnostics = ui.diagnostics;
    result.findings = sink.events;
    for (const ValidationContext& open : state.file.openTags)
        result.openTags
            << QStringLiteral("%1 %2:%3").arg(open.tagText).arg(open.lineNumber).arg(open.filePosition);
    for (const ValidationContext* last :
        { &state.file.previousTag, &state.file.previousStartTag, &state.file.context })
        result.lastTags
            << QStringLiteral("%1 %2:%3").arg(last->tagText).arg(last->lineNumber).arg(last->filePosition);
    const auto* carried
        = static_cast<const TextValidityRunState*>(state.carriedStates.find(MakeTextValidityRunState));
    if (const auto* table = state.activeTables.loaded<TextValidityTable>(SupportFile::TextValidityTbl)) {
        for (const TextValidityRow& row : table->rows)
            result.stepNumbers << (carried ? carried->numberOf(row) : row.number);
    }
    result.errorEntries = state.report.runErrorEntries;
    result.progress = ui.progressValues;
    result.progressMaximum = ui.progressMaximum;
    return result;
}

void expectSameBytes(const std::map<QString, QByteArray>& one, const std::map<QString, QByteArray>& other)
{
    ASSERT_EQ(one.size(), other.size());
    for (auto a = one.begin(), b = other.begin(); a != one.end(); ++a, ++b) {
        ASSERT_EQ(a->first, b->first);
        EXPECT_TRUE(a->second == b->second) << "differs: " << a->first.toStdString();
    }
}

void expectSameRun(const BatchResult& one, const BatchResult& other)
{
    EXPECT_EQ(one.status, other.status);
    expectSameBytes(one.work, other.work);
    expectSameBytes(one.output, other.output);
    EXPECT_EQ(one.messages, other.messages);
    EXPECT_EQ(one.diagnostics, other.diagnostics);
    EXPECT_EQ(one.findings, other.findings);
    EXPECT_EQ(one.openTags, other.openTags);
    EXPECT_EQ(one.lastTags, other.lastTags);
    EXPECT_EQ(one.stepNumbers, other.stepNumbers);
    EXPECT_EQ(one.errorEntries, other.errorEntries);
}

void writeGeneratedBatch(const Installation& inst)
{
    // Documents cut across files leave elements open for the next file.
    for (const Corpus::TreeFile& file : Corpus::Tree(16, kGeneratedFiles, 3000, true))
        inst.writeInput("gen/" + file.path, file.bytes);
    for (const auto& [path, bytes] : kCarryOver)
        inst.writeInput(path, bytes);
}

} // namespace

TEST(BatchJobs, SideBySideWritesWhatOneAfterAnotherWritesInBothEditorLayouts)
{
    for (const bool columns : { true, false }) {
        SCOPED_TRACE(columns ? "columns" : "plain");
        Installation inst;
        installSampleRules(inst, columns);
        writeGeneratedBatch(inst);
        const BatchResult sequential = runBatch(inst, "one", 1);
        const BatchResult parallel = runBatch(inst, "four", 4);
        expectSameRun(sequential, parallel);

        // The batch does carry state across files: the title of carry/b.xml
        // is reported only because carry/a.xml left its section open, and the
        // run ends with elements still open.
        EXPECT_EQ(sequential.status, ExitStatus::ErrorsFound) << sequential.messages.join("\n").toStdString();
        const QByteArray carried = sequential.work.at("carry/b.ERR");
        EXPECT_TRUE(carried.contains("<title>")) << carried.toStdString();
        EXPECT_FALSE(sequential.openTags.isEmpty());
        EXPECT_GT(sequential.work.size(), 80u);
        EXPECT_GT(sequential.findings.size(), 20);
        EXPECT_EQ(
            sequential.findings.count("end"), kGeneratedFiles + static_cast<int>(std::size(kCarryOver)));

        // Side by side, the progress bar counts the files done, one by one.
        const int files = kGeneratedFiles + static_cast<int>(std::size(kCarryOver));
        EXPECT_EQ(parallel.progressMaximum, files);
        QList<int> counted;
        for (int i = 1; i <= files; ++i)
            counted << i;
        EXPECT_EQ(parallel.progress, counted);
    }
}

// A file whose check fails fails alone, whatever the job count: its reports
// say why, it is not passed on, the batch goes on, and its end says that
// files failed.
TEST(BatchJobs, FilesWhoseCheckFailsFailAloneWhateverTheJobCount)
{
    Installation inst;
    inst.set("INPUTTYPE", "FILES");
    installSampleRules(inst, false);
    const QString examples = QStringLiteral(QUORVANE_EXAMPLES_DIR) + "/";
    inst.set("SPECIALCHARTBL",
        inst.writeTable("runaway.tbl",
            Installation::read(examples + "tables/characters.tbl")
                + "\"(a+)+c\",\"Runaway\",\"WARNING\",\"I\"\r\n"));
    for (int i = 0; i < 8; ++i) {
        const bool runaway = i == 2 || i == 5;
        inst.writeInput(QStringLiteral("f%1.xml").arg(i),
            runaway ? "<p>" + QByteArray(40, 'a') + "b c</p>\r\n" : QByteArray("<p>Clean.</p>\r\n"));
    }
    const BatchResult sequential = runBatch(inst, "one", 1);
    const BatchResult parallel = runBatch(inst, "four", 4);
    expectSameRun(sequential, parallel);
    EXPECT_EQ(sequential.status, ExitStatus::Refused);
    EXPECT_TRUE(sequential.messages.last().endsWith(
        "2 file(s) failed: their check did not finish or their outputs could not be written (see their "
        "reports and the messages before this one)."))
        << sequential.messages.last().toStdString();
    EXPECT_EQ(sequential.findings.filter("failed CheckSpecialCharacters: ").size(), 2);
    for (int i = 0; i < 8; ++i) {
        const bool runaway = i == 2 || i == 5;
        const QString name = QStringLiteral("f%1").arg(i);
        EXPECT_EQ(sequential.output.count("input" + name + ".xml"), runaway ? 0u : 1u) << i;
        EXPECT_EQ(
            sequential.work.at(name + ".WRN").contains("The check did not finish: CheckSpecialCharacters"),
            runaway)
            << i;
    }
    EXPECT_TRUE(sequential.work.at("error.edt").contains("The check did not finish: "));
}

// A file checked apart must not take a signed-step row's table number for
// one an earlier file wrote: the second file starts at the table number,
// which one after another overwrites the first file's number with.
TEST(BatchJobs, CarriedStepNumbersEndAsOneAfterAnotherLeavesThem)
{
    Installation inst;
    inst.set("INPUTTYPE", "FILES");
    installSampleRules(inst, false);
    inst.set("TEXTVALIDITYTBL",
        inst.writeTable("steps.tbl",
            "Condition | Value pattern | Tag | Split | Excluded | Operator | Number | Severity | Message\r\n"
            " | <label>(\\d+)</label> | list | N | | +1 | 3 | E | Out of sequence\r\n"));
    inst.writeInput("f0.xml", "<list><label>1</label><label>2</label></list>\r\n");
    inst.writeInput("f1.xml", "<list><label>3</label><label>4</label></list>\r\n");
    const BatchResult sequential = runBatch(inst, "one", 1);
    expectSameRun(sequential, runBatch(inst, "two", 2));
    ASSERT_FALSE(sequential.stepNumbers.isEmpty());
    EXPECT_EQ(sequential.stepNumbers.last(), 3); // the step row, after the header
}

TEST(BatchJobs, CopiesOfReportsThatLandOnTheReportsAreSkippedAtEveryJobCount)
{
    // With the output folder the working folder, each report's copy is the
    // report itself and each clean input passes on beside its reports.
    Installation inst;
    installSampleRules(inst, false);
    writeGeneratedBatch(inst);
    const BatchResult sequential = runBatch(inst, "one", 1, {}, {}, true);
    EXPECT_TRUE(sequential.work.contains("gen/part000/doc00000.ERR"));
    expectSameRun(sequential, runBatch(inst, "four", 4, {}, {}, true));
}

TEST(BatchJobs, ReportsAreTheSameAtEveryJobCountAndCacheState)
{
    Installation inst;
    installSampleRules(inst, true);
    writeGeneratedBatch(inst);
    Corpus::Style spelling;
    spelling.spellingHeavy = true;
    inst.writeInput("spell/s.xml", Corpus::Document(1, 2500, spelling));
    TempDir caches;
    auto cacheBytes = [&](const QString& folder) {
        const QStringList files = QDir(caches.path() + folder).entryList(QDir::Files);
        return files.size() == 1 ? TempDir::read(caches.path() + folder + "/" + files[0]) : QByteArray();
    };
    const BatchResult uncached = runBatch(inst, "none1", 1);
    EXPECT_GT(uncached.findings.filter("Compound Word").size(), 10);
    expectSameRun(uncached, runBatch(inst, "none4", 4));
    for (const int jobs : { 1, 4 }) {
        SCOPED_TRACE(jobs);
        const QString folder = QStringLiteral("jobs%1").arg(jobs);
        expectSameRun(uncached, runBatch(inst, "cold", jobs, {}, caches.path() + folder));
        const QByteArray kept = cacheBytes(folder);
        EXPECT_GT(kept.count('\n'), 20);
        expectSameRun(uncached, runBatch(inst, "warm", jobs, {}, caches.path() + folder));
        EXPECT_EQ(cacheBytes(folder), kept); // the warm run had nothing new to ask
    }
}

TEST(BatchJobs, AFailingFileEndsTheBatchThereWhateverTheJobCount)
{
    // A file that is gone by its turn cannot be read and ends the batch; the
    // workers may have finished later files already, which must leave
    // nothing behind.
    Installation inst;
    inst.set("INPUTTYPE", "FILES");
    installSampleRules(inst, true);
    QStringList selected;
    for (int i = 0; i < 12; ++i) {
        const QString name = QStringLiteral("f%1.xml").arg(i, 2, 10, QLatin1Char('0'));
        // The long file before the failing one gives the workers time to
        // finish the files after it.
        inst.writeInput(name, Corpus::Document(std::uint64_t(i), i == 7 ? 400'000 : 2000));
        selected << name;
    }
    selected.insert(8, "gone.xml");
    auto runWith = [&](const char* name, int jobs) { return runBatch(inst, name, jobs, selected); };
    const BatchResult sequential = runWith("one", 1);
    const BatchResult parallel = runWith("four", 4);
    EXPECT_EQ(sequential.status, 100 + ExitStatus::Refused);
    EXPECT_EQ(sequential.messages.size(), 1);
    EXPECT_TRUE(sequential.work.contains("f07.ERR"));
    EXPECT_FALSE(sequential.work.contains("f08.ERR"));
    EXPECT_EQ(parallel.status, sequential.status);
    EXPECT_EQ(parallel.messages, sequential.messages);
    expectSameBytes(sequential.work, parallel.work);
    expectSameBytes(sequential.output, parallel.output);
}

// Images called out by any file of the batch are not in excess, whichever
// worker validated that file.
TEST(BatchJobs, TheImageCrossCheckJoinsTheFilesOfEveryWorker)
{
    Installation inst;
    inst.set("IMAGEVALIDATIONTBL", inst.writeTable("images.tbl", "Tag | Attribute\r\ngraphic | href\r\n"));
    inst.set("CHECKEXCESSIMGFILES", "TRUE");
    const QString images = inst.root() + "image/";
    for (const char* folder : { "a", "b" }) {
        for (int i = 1; i <= 6; ++i) {
            QDir().mkpath(images + folder);
            QFile image(images + folder + QStringLiteral("/f%1.tif").arg(i));
            ASSERT_TRUE(image.open(QIODevice::WriteOnly));
            image.write("x");
            // Files 1 to 5 of each folder are called out, each by a file of its own.
            if (i < 6)
                inst.writeInput(QStringLiteral("%1/t%2.xml").arg(folder).arg(i),
                    QStringLiteral("<graphic href=\"f%1.tif\"/>\r\n").arg(i).toUtf8());
        }
    }
    const BatchResult sequential = runBatch(inst, "one", 1);
    const BatchResult parallel = runBatch(inst, "three", 3);
    expectSameRun(sequential, parallel);
    const QStringList excess = sequential.findings.filter("corresponding callout");
    EXPECT_EQ(excess,
        (QStringList {
            "0:0 f6.tif image does not have a corresponding callout tags in the file/s selected. | " + images
                + "a/f6.tif",
            "0:0 f6.tif image does not have a corresponding callout tags in the file/s selected. | " + images
                + "b/f6.tif" }));
    EXPECT_EQ(sequential.status, ExitStatus::ErrorsFound);
    EXPECT_EQ(sequential.work.at("quorvane.LOG").count("corresponding callout"), 2);
}

TEST(BatchJobs, WhatCannotBeKnownBeforeAFileRunsKeepsTheBatchOneAfterAnother)
{
    Installation inst;
    inst.writeTable("routinedecltbl.tbl", "Tag | Routine | Parameter\r\n<p> | CHECKPAIRVALIDITY | x\r\n");
    inst.writeConfiguration();
    RecordingOperator ui;
    RunState state(ui);
    state.ownInstallation().config.ApplicationPath = inst.appFolder() + "/";
    ASSERT_EQ(Main(state, QString()), RunMode::Batch);
    state.activeTables = TableSetForTask(ui, state.config, QString());
    const QString work = inst.workPath();
    const QString out = inst.outputPath();
    const BatchPlan two { .files = { { "/in/a.xml", work, out }, { "/in/b.xml", work, out } },
        .walked = true };

    // The pair routines keep what they know per file: they run side by side.
    EXPECT_EQ(SequentialBatchReason(state, two), QString());
    state.activeTables = state.config.DefaultTableSet;
    state.activeTables.tables = {};
    EXPECT_EQ(SequentialBatchReason(state, two), QString());

    struct Row {
        const char* why;
        BatchPlan plan;
        QStringList inputPlugins;
        QStringList outputPlugins;
        bool sequential;
    };
    const Row rows[] = {
        { "one file", { .files = { { "/in/a.xml", work, out } }, .walked = true }, {}, {}, true },
        { "before-programs", two, { "/bin/true" }, {}, true },
        { "after-programs", two, {}, { "/bin/true" }, true },
        { "same report name", { .files = { { "/in/a.xml", work, out }, { "/in/a.sgm", work, out } } }, {}, {},
            true },
        { "same name, other folders",
            { .files
                = { { "/in/x/a.xml", work + "x/", out + "x/" }, { "/in/y/a.xml", work + "y/", out + "y/" } },
                .walked = true },
            {}, {}, false },
    };
    for (const Row& row : rows) {
        state.activeTables.InputPlugins = row.inputPlugins;
        state.activeTables.OutputPlugins = row.outputPlugins;
        EXPECT_EQ(!SequentialBatchReason(state, row.plan).isEmpty(), row.sequential) << row.why;
    }
}

// The benchmarks compare runs on generated text: the same seed must give
// the same bytes, and a tree with run-on documents must cut some of them.
TEST(CorpusGenerator, TheSameSeedWritesTheSameBytes)
{
    const QByteArray document = Corpus::Document(42, 20'000);
    EXPECT_EQ(Corpus::Document(42, 20'000), document);
    EXPECT_NE(Corpus::Document(43, 20'000), document);
    EXPECT_EQ(document.count("\r\n"), document.count('\n')); // every line ends with CR LF

    const auto tree = Corpus::Tree(7, 230, 2000, true);
    const auto again = Corpus::Tree(7, 230, 2000, true);
    ASSERT_EQ(tree.size(), again.size());
    int cut = 0;
    for (std::size_t i = 0; i < tree.size(); ++i) {
        EXPECT_EQ(tree[i].path, again[i].path);
        EXPECT_TRUE(tree[i].bytes == again[i].bytes) << i;
        if (!tree[i].bytes.endsWith("</article>\r\n") && !tree[i].bytes.endsWith("</chapter>\r\n"))
            ++cut;
    }
    EXPECT_GT(cut, 10);
}
