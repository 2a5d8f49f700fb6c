#include "support/TempDir.h"

#include <QDirIterator>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <gtest/gtest.h>

// Whole runs of the sample installation compared byte for byte with the
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
};
void PrintTo(const GoldenRun& run, std::ostream* out)
{
    *out << run.name;
}

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
    for (auto it = pristine.begin(); it != pristine.end(); ++it)
        scratch.write("examples/" + it.key(), it.value());

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
    if (qEnvironmentVariableIsSet("QUORVANE_UPDATE_GOLDEN")) {
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
