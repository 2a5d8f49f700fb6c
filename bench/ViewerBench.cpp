// The findings viewer over a run of 100,000 findings (200 files of 250
// errors and 250 warnings): reading the reports back, or the --json document,
// into the list model and sorting it; and the whole window opened on them.
// The target is about a second for the whole window. Also the text side: a
// 100 MB input decoded off the window's thread, and what the window's thread
// itself spends to show it at a line.
#include "app/gui/FindingsModel.h"
#include "app/gui/FindingsViewer.h"
#include "app/gui/SourceView.h"
#include "report/FindingOutputs.h"
#include "report/ReportFormat.h"
#include "text/SourceText.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

constexpr int kFiles = 200;
constexpr int kFindingsPerFile = 500;

void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(bytes);
}

QString benchFolder()
{
    const QString base = qEnvironmentVariable("QUORVANE_BENCH_DIR");
    return base.isEmpty() ? QDir::tempPath() : base;
}

// A working folder as a batch in folders mode leaves it, and the same run as JSON.
struct RecordedBatch {
    RecordedBatch()
        : dir(benchFolder() + "/quorvane-viewer-XXXXXX")
    {
        RunFindings run;
        QByteArray log = "Quorvane\r\n";
        for (int file = 0; file < kFiles; ++file) {
            const QString input = QStringLiteral("/in/job%1/chapter%2.xml").arg(file / 20).arg(file);
            log += "FilePath    : " + input.toUtf8() + "\r\n";
            FileFindings findings { input, {}, 0, 0 };
            QByteArray reports[2];
            for (int i = 0; i < kFindingsPerFile; ++i) {
                const bool error = i % 2 == 0;
                const Finding finding { error ? FindingKind::Error : FindingKind::Warning,
                    (i * 7919) % 20000 + 1, i % 120 + 1,
                    QStringLiteral("Message number %1 of a routine").arg(i % 37),
                    QStringLiteral("<p>data content %1 with some text after it</p>").arg(i), "TEXTVALIDITY" };
                findings.findings.append(finding);
                reports[error ? 0 : 1]
                    += ReportFormat::formatEntry(
                           error ? ReportFormat::EntryKind::Error : ReportFormat::EntryKind::Warning,
                           finding.line, finding.message, finding.data, finding.column, true)
                           .reportLine.toUtf8()
                    + "\r\n";
            }
            const QString base
                = dir.path() + QStringLiteral("/work/job%1/chapter%2").arg(file / 20).arg(file);
            writeFile(base + ".ERR", reports[0]);
            writeFile(base + ".WRN", reports[1]);
            run.files.push_back(std::move(findings));
        }
        writeFile(dir.path() + "/work/quorvane.LOG", log);
        writeFile(dir.path() + "/run.json", FindingsJson(run));
    }
    QString source(int kind) const { return dir.path() + (kind == 1 ? "/run.json" : "/work"); }

    QTemporaryDir dir;
};

const RecordedBatch& batch()
{
    static const RecordedBatch recorded;
    return recorded;
}

// Arg 0: the working folder's reports; 1: the JSON document.
void ViewerModelLoad(benchmark::State& state)
{
    const QString source = batch().source(int(state.range(0)));
    for (auto _ : state) {
        FindingsModel model;
        model.setRun(ReadRecordedRun(source));
        model.sort(FindingsModel::LineColumn);
        benchmark::DoNotOptimize(model.rowCount());
        if (model.findingCount() != kFiles * kFindingsPerFile)
            state.SkipWithError("not every finding was read");
    }
    state.counters["findings"] = kFiles * kFindingsPerFile;
}
BENCHMARK(ViewerModelLoad)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Everything from the folder to a painted window with its first finding chosen.
void ViewerWindowOpen(benchmark::State& state)
{
    const QString source = batch().source(int(state.range(0)));
    for (auto _ : state) {
        FindingsViewer viewer(ReadRecordedRun(source), {}, source);
        viewer.show();
        QApplication::processEvents();
        benchmark::DoNotOptimize(viewer.grab());
    }
}
BENCHMARK(ViewerWindowOpen)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

struct BigInput {
    BigInput()
        : dir(benchFolder() + "/quorvane-viewer-XXXXXX")
        , path(dir.path() + "/big.xml")
    {
        const QByteArray line = "<p>A line of a large input with &amp; entities and <i>tags</i> in it.</p>\n";
        QByteArray text;
        text.reserve(100 << 20);
        while (text.size() < (100 << 20))
            text += line;
        writeFile(path, text);
    }
    QTemporaryDir dir;
    QString path;
};

const BigInput& bigInput()
{
    static const BigInput input;
    return input;
}

// Off the window's thread: the time until a 100 MB input can be shown.
void SourceTextLoad100MB(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(LoadSourceText(bigInput().path, true).lineCount());
}
BENCHMARK(SourceTextLoad100MB)->Unit(benchmark::kMillisecond)->Iterations(3);

// On the window's thread: showing the loaded 100 MB text at a line near its end.
void SourceViewShow100MB(benchmark::State& state)
{
    const auto source = std::make_shared<SourceText>(LoadSourceText(bigInput().path, true));
    SourceView view;
    view.resize(600, 500);
    view.show();
    for (auto _ : state) {
        view.setSource(source);
        view.goTo(source->lineCount() - 10, 40);
        benchmark::DoNotOptimize(view.grab());
    }
}
BENCHMARK(SourceViewShow100MB)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
