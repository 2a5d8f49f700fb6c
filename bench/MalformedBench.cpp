#include "BenchSupport.h"
#include "app/HeadlessOperator.h"
#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "config/RoutineDeclTable.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/CharacterPatterns.h"
#include "rules/RuleRegistry.h"

#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <functional>

// Malformed input must cost no more than its size: each shape below runs the
// whole per-file job at 1x and 10x, and 10x may take at most about 11x the
// time. The footnote rule is declared for every tag ("N/A") and the double
// blank rule searches the whole text, as in a real installation.

namespace {

using Shape = std::function<QByteArray(qsizetype scale)>;

void RunShape(benchmark::State& bench, const Shape& shape)
{
    QTemporaryDir dir;
    const QString root = dir.path() + '/';
    auto write = [&](const QString& name, const QByteArray& bytes) {
        QFile file(root + name);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(bytes);
    };
    write("routine.tbl", "Tag | Routine | Parameter\r\nN/A | UNDELFNREF | E\r\n");
    write("special.tbl", "h\r\n\"(space)(space)\",\"Double space\",\"WARNING\",\"I\"\r\n");
    const QByteArray input = shape(bench.range(0));
    write("input.xml", input);

    HeadlessOperator ui;
    RunState state(ui);
    TableSet& set = state.activeTables;
    set.file(SupportFile::RoutineDeclTbl) = root + "routine.tbl";
    set.file(SupportFile::SpecialCharTbl) = root + "special.tbl";
    set.CheckSpecialChar = Switch::On;
    LoadRoutineDeclTable({ ui, state.ownInstallation().config }, set, RoutineNamed);
    LoadSpecialCharTable({ ui, state.ownInstallation().config }, set);
    state.reportFolder = root;
    state.outputFolder = root;
    for (auto _ : bench) {
        state.file.openTags.clear();
        state.file.openTagNames.clear();
        state.inputPath = root + "input.xml";
        OpenReports(state);
        ValidateRunFile(state, Rules());
        CloseReports(state);
    }
    bench.SetBytesProcessed(bench.iterations() * input.size());
}

// Footnotes that are never closed.
void UnclosedFootnotes(benchmark::State& bench)
{
    RunShape(bench, [](qsizetype scale) { return Repeat("<fn fnref=\"1\">1 x\r\n", 40000 * scale); });
}

// Attribute values that hold ">": each grows the quoted-markup note.
void QuotedMarkup(benchmark::State& bench)
{
    RunShape(bench, [](qsizetype scale) {
        QByteArray text;
        for (qsizetype i = 0; i < 10000 * scale; ++i)
            text += "<xref alt=\"a>" + QByteArray::number(i) + "\">x</xref>\r\n";
        return text;
    });
}

// Open elements and end tags that close none of them.
void UnmatchedEndTags(benchmark::State& bench)
{
    RunShape(bench,
        [](qsizetype scale) { return Repeat("<a>\r\n", 20000 * scale) + Repeat("</b>\r\n", 20000 * scale); });
}

// Footnotes nested inside each other.
void NestedFootnotes(benchmark::State& bench)
{
    RunShape(bench, [](qsizetype scale) {
        return Repeat("<fn fnref=\"1\">x\r\n", 2000 * scale) + Repeat("</fn>\r\n", 2000 * scale);
    });
}

// One footnote full of tags.
void TagsInOneFootnote(benchmark::State& bench)
{
    RunShape(bench, [](qsizetype scale) {
        return "<fn fnref=\"1\">x " + Repeat("<i>y</i>\r\n", 40000 * scale) + "</fn>\r\n";
    });
}

// Minified markup: no line break at all, with findings along the line.
void OneLongLine(benchmark::State& bench)
{
    RunShape(bench, [](qsizetype scale) { return Repeat("<p>a  b</p>", 20000 * scale); });
}

} // namespace

BENCHMARK(UnclosedFootnotes)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(QuotedMarkup)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(UnmatchedEndTags)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(NestedFootnotes)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(TagsInOneFootnote)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(OneLongLine)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
