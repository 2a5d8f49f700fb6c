#include "app/HeadlessOperator.h"
#include "app/RunState.h"
#include "report/Reports.h"

#include <QDir>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

// Writing many entries must stay linear: a run with a rule that fires on
// every line of a big file writes hundreds of thousands of them.
static void WriteManyEntries(benchmark::State& bench)
{
    QTemporaryDir dir;
    HeadlessOperator ui;
    RunState state(ui);
    state.reportFolder = dir.path() + QLatin1Char('/');
    state.outputFolder = state.reportFolder;
    state.inputPath = state.reportFolder + QStringLiteral("big.xml");
    const int entries = static_cast<int>(bench.range(0));
    for (auto _ : bench) {
        OpenReports(state);
        for (int i = 1; i <= entries; ++i) {
            for (const FindingKind kind : { FindingKind::Error, FindingKind::Warning })
                ReportFinding(state,
                    { kind, i, i, QStringLiteral("Message"), QStringLiteral("data"),
                        QStringLiteral("BENCH") });
        }
        CloseReports(state);
    }
    bench.SetItemsProcessed(bench.iterations() * entries * 2);
}
BENCHMARK(WriteManyEntries)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);
