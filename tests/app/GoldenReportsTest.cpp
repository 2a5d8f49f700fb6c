#include "support/TempDir.h"

#include <QDirIterator>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <gtest/gtest.h>

// Whole runs of the sample installation, or of the sample with files of a
// run's own from tests/golden-inputs/, compared byte for byte with the
// expected files under tests/golden/: every file a run writes or changes in a
// scratch copy of examples/ (reports, editor files, logs), its JSON, SARIF
// and HTML outputs where it is asked for them, and what it printed.
// QUORVANE_UPDATE_GOLDEN=1 (scripts/update-golden) writes the expected files
// from the current program instead; review their diff before committing.

namespace {

using Files = QMap<QString, QByteArray>;

struct GoldenRun {
    const char* name;
    QStringList arguments;
    // Lines of the sample configuration replaced for this run, as "KEY = value".
    QStringList settings = {};
    // The folder of tests/golden-inputs/ whose files join the copy, if not the run's name.
    const char* inputs = nullptr;
};
void PrintTo(const GoldenRun& run, std::ostream* out)
{
    *out << run.name;
}

// The smallest sample, for runs about the installation rather than the text.
const QStringList kChapter = { "examples/input/chapter.xml|JRNL" };

// Rule cases, one a line of a file of tests/golden-inputs/rule_cases/ (one a
// file where a routine reads the whole file), read against tables of their
// own; the whole-file checks stay quiet.
const QStringList kCaseTables = { "CHECKMULTIHRT = FALSE", "CHECKSPECIALCHAR = FALSE",
    "NOHRTDECLTBL = examples/tables/cases/nohrt.tbl", "WITHHRTDECLTBL = examples/tables/cases/withhrt.tbl",
    "NOLEADZEROTBL = examples/tables/cases/noleadzero.tbl",
    "ATTRIBUNCONTBL = examples/tables/cases/attribuncon.tbl",
    "CONVERT2ATTRIBTBL = examples/tables/cases/convert2attrib.tbl",
    "CHECKPAIRTBL = examples/tables/cases/checkpair.tbl",
    "CHECKPAIRCONTTBL = examples/tables/cases/checkpaircont.tbl",
    "CONVERT2TAGTBL = examples/tables/cases/convert2tag.tbl",
    "COUNTREFCHECKTBL = examples/tables/cases/countref.tbl",
    "CITATIONVALTBL = examples/tables/cases/citation.tbl", "COMPCONTTBL = examples/tables/cases/compcont.tbl",
    "PCPDATACOMPARETBL = examples/tables/cases/pcpdata.tbl",
    "IMAGEVALIDATIONTBL = examples/tables/cases/images.tbl" };

const GoldenRun kRuns[] = {
    { "article",
        { "--json", "outputs/run.json", "--sarif", "outputs/run.sarif", "--html", "outputs/run.html",
            "examples/input/article.xml|JRNL" } },
    { "chapter", { "examples/input/chapter.xml|JRNL" } },
    { "proceedings", { "examples/input/proceedings.xml|JRNL" } },
    { "review", { "examples/input/review.xml|JRNL" } },
    { "workshop", { "examples/input/workshop.xml|JRNL" } },
    { "figures", { "--json", "outputs/run.json", "examples/figures/jcs-2026-0150#2.xml|FIGS" } },
    { "check_config", { "--check-config" } },
    // An installation with a fault of every kind the check looks for.
    { "check_config_broken", { "--check-config" } },
    // Routines on an element the input writes only as an empty tag never run:
    // named for the given input, for the files below INPUTPATH together, not
    // for an input that starts the element; an input that cannot be read.
    { "check_config_empty_tags_input", { "--check-config", "--input", "examples/emptytags/a.xml" },
        { "ROUTINEDECLTBL = examples/tables/t/emptytags.tbl" }, "check_config_inputs" },
    { "check_config_empty_tags_below_input", { "--check-config" },
        { "ROUTINEDECLTBL = examples/tables/t/emptytags.tbl", "INPUTPATH = examples/emptytags/" },
        "check_config_inputs" },
    { "check_config_empty_tags_started", { "--check-config", "--input", "examples/emptytags/b.xml" },
        { "ROUTINEDECLTBL = examples/tables/t/emptytags.tbl" }, "check_config_inputs" },
    { "check_config_input_missing", { "--check-config", "--input", "examples/gone.xml" },
        { "ROUTINEDECLTBL = examples/tables/t/emptytags.tbl" }, "check_config_inputs" },
    // A cross-reference routine whose table names an element it is not
    // declared on, where that element has a row of its own, never sees it;
    // declared on an N/A row it does.
    { "check_config_unseen_element", { "--check-config" },
        { "ROUTINEDECLTBL = examples/tables/t/crossref.tbl",
            "COUNTREFCHECKTBL = examples/tables/t/countref.tbl",
            "COMPCONTTBL = examples/tables/t/compcont.tbl" },
        "check_config_inputs" },
    { "check_config_element_seen_on_na_row", { "--check-config" },
        { "ROUTINEDECLTBL = examples/tables/t/crossref-na.tbl",
            "COUNTREFCHECKTBL = examples/tables/t/countref.tbl",
            "COMPCONTTBL = examples/tables/t/compcont.tbl" },
        "check_config_inputs" },
    // A table that only a task's routines name is used; the file-name table
    // is read only when its switch says TRUE.
    { "check_config_task_tables", { "--check-config" }, {}, "check_config_tasks" },
    { "check_config_task_selected", { "--check-config", "--task", "t1" }, {}, "check_config_tasks" },
    { "check_config_filename_table_unread", { "--check-config" },
        { "FILENAMECHECKTBL = examples/tables/t/names.tbl" }, "check_config_tasks" },
    { "check_config_unknown_task", { "--check-config", "--task", "T9" } },
    { "batch",
        { "--json", "outputs/run.json", "--sarif", "outputs/run.sarif", "--html", "outputs/run.html",
            "--batch", "examples", "--task", "JRNL", "input" } },
    // The layouts and editor files the sample settings do not show.
    { "article_plain", { "examples/input/article.xml|JRNL" }, { "XYCOORDINATES = no" } },
    { "review_kv7", { "examples/input/review.xml|JRNL" }, { "EDITORPROGRAM = KV7" } },
    { "workshop_kv7_plain", { "examples/input/workshop.xml|JRNL" },
        { "EDITORPROGRAM = KV7", "XYCOORDINATES = no" } },
    { "batch_plain_jobs2",
        { "--json", "outputs/run.json", "--jobs", "2", "--batch", "examples", "--task", "JRNL", "input" },
        { "XYCOORDINATES = no", "CREATELOGFOLDER = LOGS" } },
    // A headless batch of the whole list, nested folders mirrored; one that
    // takes its task, folders and entry from options.
    { "batch_whole_list", { "--batch", "examples/jobs" }, {}, "batch_inputs" },
    { "batch_boxes_from_options",
        { "--batch", "examples/jobs2", "--task", "JRNL", "--work", "examples/w2", "--output=examples/o2",
            "a.xml" },
        { "INPUTTYPE = FILES" }, "batch_inputs" },
    // The sample configuration with CR LF and with lone CR line ends: the last
    // one must not clear the figures task's character lists.
    { "figures_ini_crlf", { "examples/figures/jcs-2026-0150#2.xml|FIGS" }, {}, "ini_crlf" },
    { "figures_ini_cr", { "examples/figures/jcs-2026-0150#2.xml|FIGS" }, {}, "ini_cr" },
    // A task named by option or by the bar, in either case, and what an unknown
    // or a second task code does.
    { "book_task_option", { "--task", "book", "examples/input/chapter.xml" } },
    { "book_task_both_ways", { "--task", "BOOK", "examples/input/chapter.xml|Book" } },
    { "two_task_codes", { "--task", "JRNL", "examples/input/chapter.xml|BOOK" } },
    { "unknown_task", { "examples/input/chapter.xml|NOPE" } },
    // Attribute values, expanded texts around tags, footnote marks and
    // pairs; hard returns around and inside elements; the marker step of
    // NOHRT with its parameter element.
    { "rule_cases_attributes_and_pairs", { "--json", "outputs/run.json", "examples/cases/rules.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/routine.tbl" }, "rule_cases" },
    { "rule_cases_hard_returns", { "examples/cases/hrt.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/hrt-routine.tbl" },
        "rule_cases" },
    { "rule_cases_nohrt_parameter", { "examples/cases/nohrt-sec.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/nohrt-sec-routine.tbl" },
        "rule_cases" },
    { "rule_cases_convert_to_tag", { "examples/cases/convert2tag.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/convert2tag-routine.tbl" },
        "rule_cases" },
    // Cross-references and citation order, each file of the batch afresh.
    { "rule_cases_cross_references", { "--batch", "examples/countref", "--task", "JRNL" },
        kCaseTables
            + QStringList { "ROUTINEDECLTBL = examples/tables/cases/countref-routine.tbl",
                "INPUTTYPE = FILES" },
        "rule_cases" },
    { "rule_cases_citations", { "--batch", "examples/citations", "--task", "JRNL" },
        kCaseTables
            + QStringList { "ROUTINEDECLTBL = examples/tables/cases/citation-routine.tbl",
                "INPUTTYPE = FILES" },
        "rule_cases" },
    // Element contents compared with each other and with lists of values.
    { "rule_cases_contents", { "--batch", "examples/contents", "--task", "JRNL" },
        kCaseTables
            + QStringList { "ROUTINEDECLTBL = examples/tables/cases/contents-routine.tbl",
                "INPUTTYPE = FILES" },
        "rule_cases" },
    // Image names against the article identifier (the input's name, an
    // element's text, none to be found) and against one length.
    { "rule_cases_image_name_is_the_input_name", { "examples/cases/jcs-7.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/artid-name-routine.tbl" },
        "rule_cases" },
    { "rule_cases_image_name_is_an_elements_text", { "examples/cases/article-id.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/artid-element-routine.tbl" },
        "rule_cases" },
    { "rule_cases_image_name_without_identifier", { "examples/cases/no-article-id.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/artid-missing-routine.tbl" },
        "rule_cases" },
    { "rule_cases_image_name_lengths_as_the_first", { "examples/cases/name-lengths.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/length-first-routine.tbl" },
        "rule_cases" },
    { "rule_cases_image_name_lengths_as_given", { "examples/cases/name-length-given.xml|JRNL" },
        kCaseTables + QStringList { "ROUTINEDECLTBL = examples/tables/cases/length-given-routine.tbl" },
        "rule_cases" },
    // Runs refused at start-up: their message and status, and nothing written.
    { "refused_missing_input", { "examples/input/none.xml|JRNL" } },
    { "refused_folder_as_input", { "examples/input" } },
    { "refused_no_input", {} },
    { "refused_missing_tables", kChapter,
        { "ROUTINEDECLTBL = examples/tables/none.tbl", "SPECIALCHARTBL = examples/tables/gone.tbl" } },
    { "refused_missing_later_table", kChapter, { "CONVERT2TAGTBL = examples/tables/gone.tbl" } },
    // Reading goes on past a bad value, but the missing-field check (an empty
    // list is missing) then does not run.
    { "refused_bad_values", kChapter,
        { "CHECKSPECIALCHAR = maybe", "MULTIHRTMAXCOUNT = two", "VALIDFILENAMECHAR = " } },
    // Missing fields are listed with their odd layout: WorkPath alone starts
    // the list, an empty path counts as given, the order is the record's.
    { "refused_missing_workpath", kChapter, {}, "ini_no_workpath" },
    { "refused_missing_temppath", kChapter, {}, "ini_empty_workpath_no_temppath" },
    { "refused_three_missing", kChapter, {}, "ini_three_missing" },
    { "refused_temp_is_work_but_for_case", kChapter, { "TEMPPATH = examples/WORK/" }, "upper_work" },
    { "refused_empty_list", kChapter, { "VALIDFILENAMECHAR = " } },
    { "refused_bad_switches", kChapter, { "CHECKMULTIHRT = maybe", "CHECKIMAGEZEROBYTES = TRUE!" } },
    // Set in the default settings and in the figures task: each is told.
    { "refused_bad_task_value", kChapter, { "CHECKFILENAME = sometimes" } },
    { "refused_count_not_numeric", kChapter, { "MULTIHRTMAXCOUNT = three" } },
    // Too large for the 32-bit count: refused rather than wrapped.
    { "refused_count_too_large", kChapter, { "MULTIHRTMAXCOUNT = 3000000000" } },
    { "refused_empty_separator", kChapter, { "ATTRIBRANGESEPARATOR = -|" } },
    { "refused_missing_plugin", kChapter, { "INPUTPLUGIN = absent.sh" } },
    { "refused_missing_lexicons", kChapter, { "MAINLEXFILES = en_US.dic, gone.dic,,other.txt" } },
    { "refused_work_is_a_file", kChapter, { "WORKPATH = examples/Quorvane.INI" } },
    { "refused_output_not_writable", kChapter, { "OUTPUTPATH = /proc" } },
    { "refused_every_path", kChapter,
        { "MAINLEXPATH = nolex", "INPUTPATH = noin", "IMAGEPATH = noimg", "OUTPUTPATH = noout",
            "TEMPPATH = examples/work/" } },
    // An output that cannot be written is found before anything is validated.
    { "refused_json_is_a_folder", { "--json", "outputs", "examples/input/chapter.xml|JRNL" } },
    // An input the run would write or remove is refused and kept, and an
    // earlier run's output goes all the same.
    { "refused_input_is_its_report", { "--sarif", "examples/earlier.sarif", "examples/work/notes.ERR" }, {},
        "misplaced_inputs" },
    { "refused_input_is_the_log", { "--sarif", "examples/earlier.sarif", "examples/work/quorvane.LOG" }, {},
        "misplaced_inputs" },
    { "refused_input_is_the_view_log",
        { "--sarif", "examples/earlier.sarif", "examples/work/quorvane_ErrView.LOG" }, {},
        "misplaced_inputs" },
    { "refused_input_is_the_editor_file", { "--sarif", "examples/earlier.sarif", "examples/work/error.edt" },
        {}, "misplaced_inputs" },
    { "refused_input_is_the_kv7_log", { "--sarif", "examples/earlier.sarif", "examples/work/notes.LOG" },
        { "EDITORPROGRAM = KV7" }, "misplaced_inputs" },
    { "refused_input_in_the_temporary_folder",
        { "--sarif", "examples/earlier.sarif", "examples/temp/Quorvane_Temp/a.xml" }, {}, "temp_inputs" },
    { "refused_input_is_an_output",
        { "--json", "examples/input/chapter.xml", "--sarif", "examples/earlier.sarif",
            "examples/input/chapter.xml|JRNL" },
        {}, "misplaced_inputs" },
    { "refused_bad_routine_name", kChapter, { "ROUTINEDECLTBL = examples/tables/badroutine.tbl" },
        "startup_inputs" },
    // A lexicon the engine would load as no words at all.
    { "refused_empty_dictionary", kChapter, { "MAINLEXFILES = empty.dic" }, "startup_inputs" },
    { "refused_dictionary_without_count", kChapter, { "MAINLEXFILES = nocount.dic" }, "startup_inputs" },
    { "refused_output_folder_is_a_file", { "examples/batch7/a.xml|JRNL" }, {}, "startup_inputs" },
    // A before-program that deletes the staged copy leaves nothing to read:
    // the earlier run's reports stay whole.
    { "unreadable_staged_input", kChapter, { "INPUTPLUGIN = remove.sh" }, "plugin_inputs" },
    // A check that ends on a failure fails its file.
    { "failing_check_uncompiled",
        { "--json", "outputs/run.json", "--sarif", "outputs/run.sarif", "examples/failing/a.xml|JRNL" },
        { "SPECIALCHARTBL = examples/tables/uncompiled.tbl" }, "failing_checks" },
    { "failing_check_match_limit",
        { "--json", "outputs/run.json", "--sarif", "outputs/run.sarif", "examples/failing/a.xml|JRNL" },
        { "SPECIALCHARTBL = examples/tables/runaway.tbl" }, "failing_checks" },
    // Before-programs run in order on a staged copy, the after-program on what
    // passes on; what an earlier run left staged goes.
    { "plugins_in_order", { "examples/clean/c.xml|JRNL" },
        { "INPUTPLUGIN = one.sh | two.sh", "OUTPUTPLUGIN = three.sh" }, "plugin_order" },
    // Before-programs that cut the staged copy short or crash fail the file;
    // an after-program that fails fails the run.
    { "plugin_cut_short", kChapter, { "INPUTPLUGIN = cut.sh" }, "plugin_inputs" },
    { "plugin_crashed", kChapter, { "INPUTPLUGIN = crash.sh" }, "plugin_inputs" },
    { "plugin_after_fails", { "examples/clean/a.xml|JRNL" }, { "OUTPUTPLUGIN = fail.sh" }, "plugin_inputs" },
    // --view only shows: without a window, or with something to validate, it is refused.
    { "refused_view_without_display", { "--view", "examples/work" } },
    { "refused_view_with_input", { "--view", "examples/work", "examples/input/chapter.xml" } },
    { "refused_view_of_nothing", { "--view" } },
    { "refused_missing_batch_entry", { "--batch", "examples", "j9" } },
    { "refused_missing_batch_output", { "--batch", "examples", "--output", "nowhere", "input" } },
    { "refused_missing_batch_work", { "--batch", "examples", "--work", "nowhere", "input" } },
};

Files filesBelow(const QString& root)
{
    Files files;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(path.mid(root.size()), TempDir::read(path));
    }
    return files;
}

// Program logs and the JSON, SARIF and HTML outputs carry the clock;
// everything else in them must stay.
QByteArray withoutTimes(QByteArray bytes)
{
    static const QRegularExpression stamp(
        R"((\d\d/\d\d/\d\d )?\d\d:\d\d:\d\d [AP]M|\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?Z)");
    QString text = QString::fromUtf8(bytes);
    text.replace(stamp, "<time>");
    return text.toUtf8();
}

bool carriesTimes(const QString& path)
{
    for (const char* end : { ".LOG", ".json", ".sarif", ".html" })
        if (path.endsWith(QLatin1String(end)))
            return true;
    return false;
}

Files runOnScratchCopy(const GoldenRun& run)
{
    TempDir scratch;
    const QString examples = QStringLiteral(QUORVANE_EXAMPLES_DIR) + "/";
    // What earlier runs left in the run folders of examples/ is not copied:
    // it would hide the files these runs write.
    Files pristine = filesBelow(examples);
    pristine.removeIf([](const auto& file) {
        static const QRegularExpression runFolder("^(work|output|temp)/(?!\\.gitkeep$)");
        return runFolder.match(file.key()).hasMatch();
    });
    // Files a run brings along (a configuration and tables of its own, under
    // tests/golden-inputs/NAME/) join the copy as if the sample held them.
    const Files given = filesBelow(QStringLiteral(QUORVANE_GOLDEN_DIR "/../golden-inputs/")
        + (run.inputs ? run.inputs : run.name) + "/");
    for (auto it = given.begin(); it != given.end(); ++it)
        pristine[it.key()] = it.value();
    // The changed configuration is the run's own starting point, not something it wrote.
    QString ini = QString::fromUtf8(pristine.value("Quorvane.INI"));
    for (const QString& setting : run.settings) {
        const QRegularExpression line(
            "^" + setting.section(" = ", 0, 0) + " =.*$", QRegularExpression::MultilineOption);
        if (!ini.contains(line))
            ADD_FAILURE() << "the sample configuration has no " << setting.toStdString();
        ini.replace(line, setting);
    }
    pristine["Quorvane.INI"] = ini.toUtf8();
    for (auto it = pristine.begin(); it != pristine.end(); ++it) {
        const QString path = scratch.write("examples/" + it.key(), it.value());
        if (path.endsWith(".sh")) // the outside programs a run brings
            QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
    }

    scratch.mkdir("outputs"); // the --json, --sarif and --html files
    QProcess process;
    process.setWorkingDirectory(scratch.path());
    process.start(QStringLiteral(QUORVANE_EXECUTABLE),
        QStringList { "--app-dir", "examples", "--headless", "--no-cache" } + run.arguments);
    process.waitForFinished(120000);

    Files written;
    const Files after = filesBelow(scratch.path());
    for (auto it = after.begin(); it != after.end(); ++it) {
        const QString inExamples = it.key().mid(QStringLiteral("examples/").size());
        if (it.key().startsWith("examples/") && pristine.contains(inExamples)
            && pristine.value(inExamples) == it.value())
            continue;
        written.insert(it.key(), carriesTimes(it.key()) ? withoutTimes(it.value()) : it.value());
    }
    for (const QString& path : pristine.keys())
        if (!after.contains("examples/" + path))
            written.insert("examples/" + path, "(removed by the run)\n");
    written.insert("console.txt",
        "exit code " + QByteArray::number(process.exitCode()) + "\n--- standard output\n"
            + process.readAllStandardOutput() + "--- standard error\n" + process.readAllStandardError());
    return written;
}

QString unifiedDiff(const QString& path, const QByteArray& expected, const QByteArray& actual)
{
    TempDir dir;
    QProcess diff;
    diff.start("diff",
        { "-u", "--label", "expected/" + path, "--label", "actual/" + path, dir.write("expected", expected),
            dir.write("actual", actual) });
    diff.waitForFinished();
    return QString::fromUtf8(diff.readAllStandardOutput());
}

class GoldenReports : public testing::TestWithParam<GoldenRun> { };

TEST_P(GoldenReports, RunWritesExactlyTheExpectedFiles)
{
    const QString goldenRoot = QStringLiteral(QUORVANE_GOLDEN_DIR "/") + GetParam().name + "/";
    const Files actual = runOnScratchCopy(GetParam());
    if (!qEnvironmentVariableIsEmpty("QUORVANE_UPDATE_GOLDEN")) {
        QDir(goldenRoot).removeRecursively();
        for (auto it = actual.begin(); it != actual.end(); ++it) {
            QDir().mkpath(QFileInfo(goldenRoot + it.key()).absolutePath());
            QFile file(goldenRoot + it.key());
            ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(it.value()) == it.value().size());
        }
        return;
    }
    const Files expected = filesBelow(goldenRoot);
    ASSERT_FALSE(expected.isEmpty()) << "no expected files in " << goldenRoot.toStdString();
    QStringList paths = expected.keys() + actual.keys();
    paths.removeDuplicates();
    for (const QString& path : paths) {
        if (!expected.contains(path))
            ADD_FAILURE() << "unexpected file " << path.toStdString();
        else if (!actual.contains(path))
            ADD_FAILURE() << "missing file " << path.toStdString();
        else if (expected[path] != actual[path])
            ADD_FAILURE() << unifiedDiff(path, expected[path], actual[path]).toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, GoldenReports, testing::ValuesIn(kRuns),
    [](const testing::TestParamInfo<GoldenRun>& info) { return std::string(info.param.name); });

} // namespace
