#include "app/HeadlessOperator.h"
#include "config/RoutineDeclTable.h"
#include "core/RunState.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/CharacterPatterns.h"
#include "rules/HardReturns.h"
#include "rules/RuleRegistry.h"
#include "rules/UnconvertedEntities.h"

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

// A book whose paragraphs sit 50 sections deep: every block opens 50 nested
// sections, each with a title, holds paragraphs with inline elements (in
// every tenth block an escaped entity or an HRT marker), then closes them all. Every start tag inside
// a section gets the hard-return and entity rules, so each character lies in
// the content of some 50 elements that are read.
QByteArray MakeNestedBook(qsizetype targetSize)
{
    QByteArray text = "<?xml version=\"1.0\"?>\r\n<book>\r\n";
    for (int block = 1; text.size() < targetSize; ++block) {
        for (int depth = 1; depth <= 50; ++depth)
            text += "<sec id=\"s" + QByteArray::number(block) + '.' + QByteArray::number(depth)
                + "\">\r\n<title>Level " + QByteArray::number(depth) + "</title>\r\n";
        for (int p = 1; p <= 40; ++p) {
            text += "<p>Some text with <i>italic</i> and <b>bold</b> words"
                + QByteArray(block % 10 == 0 && p == 20 ? " m&amp;#179;" : "")
                + (block % 10 == 5 && p == 20 ? "<HRT/>" : "") + " here, <fn fnref=\""
                + QByteArray::number(p % 9) + "\">" + QByteArray::number(p % 7) + " note text</fn></p>\r\n";
        }
        for (int depth = 1; depth <= 50; ++depth)
            text += "</sec>\r\n";
    }
    return text + "</book>\r\n";
}

// The whole per-file job over the nested book with the hard-return and entity
// rules declared for every section.
void ValidateNestedBook(benchmark::State& bench)
{
    QTemporaryDir dir;
    const QString root = dir.path() + '/';
    WriteFile(root + "routine.tbl",
        "Tag | Routine | Parameter\r\n<sec> | UNCONENTITIES | N/A\r\n | NOHRT | N/A\r\n | WITHHRT | N/A\r\n"
        "<fn> | UNDELFNREF | E\r\n");
    WriteFile(root + "nohrt.tbl", "h\r\n<sec> | <title> | E\r\n<sec> | <p> | W\r\n<p> | <p> | W\r\n");
    WriteFile(root + "withhrt.tbl", "h\r\n<sec> | S | E\r\n</p> | E | W\r\n<title> | S | W\r\n");
    WriteFile(root + "uncon.tbl",
        "&amp;# E / Numeric entity escaped twice\r\n&lt;i&gt; E / Escaped italic tag\r\n-- W / Double "
        "hyphen\r\n"
        "`` W / Backquotes\r\n<space>, W / Blank before a comma\r\n&nbsp<space> E / No semicolon\r\n");
    WriteFile(root + "book.xml", MakeNestedBook(bench.range(0) * 1000 * 1000));

    HeadlessOperator ui;
    RunState state(ui);
    TableSet& set = state.config.ActiveTableSet;
    set.file(SupportFile::RoutineDeclTbl) = root + "routine.tbl";
    set.file(SupportFile::NoHRTDeclTbl) = root + "nohrt.tbl";
    set.file(SupportFile::WithHRTDeclTbl) = root + "withhrt.tbl";
    set.file(SupportFile::UnConEntitiesTbl) = root + "uncon.tbl";
    set.CheckMultiHrt = "True";
    set.MultiHrtMaxCount = 2;
    LoadRoutineDeclTable(state, set, IsRoutineName);
    LoadNoHrtTable(state, set);
    LoadWithHrtTable(state, set);
    LoadUnconEntitiesTable(state, set);
    state.reportFolder = root;
    state.outputFolder = root;
    for (auto _ : bench) {
        state.inputPath = root + "book.xml";
        OpenReports(state);
        ValidateFile(state, Rules());
        CloseReports(state);
    }
    bench.counters["findings"] = state.report.errorCount + state.report.warningCount;
    bench.SetBytesProcessed(bench.iterations() * bench.range(0) * 1000 * 1000);
}

} // namespace

BENCHMARK(ValidateBook)->Arg(5)->Arg(10)->Arg(20)->Unit(benchmark::kMillisecond);
BENCHMARK(ValidateNestedBook)->Arg(10)->Arg(20)->Arg(100)->Unit(benchmark::kMillisecond);
