#include "BenchSupport.h"
#include "app/BatchRun.h"
#include "app/RunState.h"
#include "config/RoutineDeclTable.h"
#include "rules/CharacterPatterns.h"
#include "rules/RuleRegistry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

constexpr int kFiles = 1000;
constexpr qsizetype kFileSize = 10 * 1000;

// One 10 KB article: paragraphs with inline elements, a footnote each, and a
// double blank now and then for the special-character search.
QByteArray MakeArticle(int number)
{
    QByteArray text = "<article id=\"a" + QByteArray::number(number) + "\">\r\n";
    for (int i = 1; text.size() < kFileSize - 20; ++i) {
        text += "<p>Text with <i>italic</i> and <b>bold</b> words" + QByteArray(i % 10 == 0 ? "  " : " ")
            + "here.<fn fnref=\"" + QByteArray::number(i % 9) + "\">" + QByteArray::number(i % 7)
            + " note</fn></p>\r\n";
    }
    return text + "</article>\r\n";
}

// The same 10 MB of articles, as 1,000 files in one folder (range 0) or as
// one file (range 1), validated by the batch runner in folders mode.
void BatchOfArticles(benchmark::State& bench)
{
    const bool asOneFile = bench.range(0) == 1;
    // QUORVANE_BENCH_DIR chooses the file system (a disk, or /dev/shm to see
    // the program's own share without the disk's).
    const QString base = qEnvironmentVariable("QUORVANE_BENCH_DIR", QDir::tempPath());
    QTemporaryDir dir(base + "/quorvane-batch-XXXXXX");
    const QString root = dir.path() + '/';
    WriteFile(root + "routine.tbl",
        "Tag | Routine | Parameter\r\nN/A | CONVERT2TAG | x\r\n<fn> | UNDELFNREF | E\r\n");
    WriteFile(root + "special.tbl", "h\r\n\"(space)(space)\",\"Double space\",\"WARNING\",\"I\"\r\n");
    QByteArray whole;
    for (int i = 0; i < kFiles; ++i) {
        const QByteArray article = MakeArticle(i);
        if (asOneFile)
            whole += article;
        else
            WriteFile(root + "in/job/a" + QByteArray::number(i) + ".xml", article);
    }
    if (asOneFile)
        WriteFile(root + "in/job/all.xml", whole);
    QDir().mkpath(root + "work");
    QDir().mkpath(root + "out");
    QDir().mkpath(root + "temp");

    SilentOperator ui;
    RunState state(ui);
    Configuration& config = state.ownInstallation().config;
    config.InputType = "FOLDERS";
    config.InputFileMask = "|xml|";
    config.TempPath = root + "temp/";
    TableSet& set = config.DefaultTableSet;
    set.file(SupportFile::RoutineDeclTbl) = root + "routine.tbl";
    set.file(SupportFile::SpecialCharTbl) = root + "special.tbl";
    LoadRoutineDeclTable({ ui, config }, set, RoutineNamed);
    LoadSpecialCharTable({ ui, config }, set);
    // Arg 2 validates the files side by side, one per core.
    const int jobs = bench.range(0) == 2 ? 0 : 1;
    const BatchRequest request { root + "in", { "job" }, QString(), root + "work/", root + "out/", jobs };
    BatchObserver observer;
    for (auto _ : bench) {
        // Every batch starts from empty report and output folders, as a
        // new job does; rewriting old reports would measure the file
        // system's flushing of truncated files instead.
        bench.PauseTiming();
        for (const char* folder : { "work", "out" }) {
            QDir(root + folder).removeRecursively();
            QDir().mkpath(root + folder);
        }
        bench.ResumeTiming();
        RunBatch(state, request, observer);
    }
    bench.SetBytesProcessed(bench.iterations() * kFiles * kFileSize);
}

} // namespace

// Arg 0: 1,000 files of 10 KB; arg 1: the same text as one 10 MB file;
// arg 2: the 1,000 files side by side.
BENCHMARK(BatchOfArticles)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
