#include "app/HeadlessOperator.h"
#include "config/RoutineDeclTable.h"
#include "core/RunState.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/CharacterPatterns.h"
#include "rules/RuleRegistry.h"

#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

// A book-sized file: paragraphs with inline elements and a footnote each,
// some double blanks for the special-character search to find.
QByteArray MakeBook(qsizetype targetSize)
{
    QByteArray text = "<?xml version=\"1.0\"?>\r\n<book>\r\n";
    for (int i = 1; text.size() < targetSize; ++i) {
        text += "<p id=\"p" + QByteArray::number(i) + "\">Some text with <i>italic</i> and <b>bold</b> words"
            + (i % 10 == 0 ? "  " : " ") + "here.<fn fnref=\"" + QByteArray::number(i % 9) + "\">"
            + QByteArray::number(i % 7) + " note text</fn></p>\r\n";
    }
    return text + "</book>\r\n";
}

void WriteFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(bytes);
}

// The whole per-file job: load, whole-file checks, scan and dispatch, reports.
void ValidateBook(benchmark::State& bench)
{
    QTemporaryDir dir;
    const QString root = dir.path() + '/';
    WriteFile(root + "routine.tbl",
        "Tag | Routine | Parameter\r\nN/A | CONVERT2TAG | x\r\n<fn> | UNDELFNREF | E\r\n");
    WriteFile(root + "special.tbl", "h\r\n\"(space)(space)\",\"Double space\",\"WARNING\",\"I\"\r\n");
    WriteFile(root + "book.xml", MakeBook(bench.range(0) * 1000 * 1000));

    HeadlessOperator ui;
    RunState state(ui);
    TableSet& set = state.config.ActiveTableSet;
    set.file(SupportFile::RoutineDeclTbl) = root + "routine.tbl";
    set.file(SupportFile::SpecialCharTbl) = root + "special.tbl";
    LoadRoutineDeclTable(state, set, IsRoutineName);
    LoadSpecialCharTable(state, set);
    state.reportFolder = root;
    state.outputFolder = root;
    for (auto _ : bench) {
        state.inputPath = root + "book.xml";
        OpenReports(state);
        ValidateFile(state, Rules());
        CloseReports(state);
    }
    bench.counters["lines"] = state.lineCount();
    bench.SetBytesProcessed(bench.iterations() * bench.range(0) * 1000 * 1000);
}

} // namespace

BENCHMARK(ValidateBook)->Arg(5)->Arg(10)->Arg(20)->Unit(benchmark::kMillisecond);
