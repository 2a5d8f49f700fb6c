#include "app/HeadlessOperator.h"
#include "config/RoutineDeclTable.h"
#include "core/RunState.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/AttributeValues.h"
#include "rules/CharacterPatterns.h"
#include "rules/ConvertToAttribute.h"
#include "rules/ConvertToTag.h"
#include "rules/RuleRegistry.h"

#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

// A book-sized file: paragraphs with inline elements and a footnote each,
// some double blanks for the special-character search to find, and between
// them cross-references straight inside the one book element, so that the
// conversion rules look before tag after tag of a very long element.
QByteArray MakeBook(qsizetype targetSize)
{
    QByteArray text = "<?xml version=\"1.0\"?>\r\n<book>\r\n";
    for (int i = 1; text.size() < targetSize; ++i) {
        text += "<p id=\"p" + QByteArray::number(i) + "\">Some text with <i>italic</i> and <b>bold</b> words"
            + (i % 10 == 0 ? "  " : " ") + "here.<fn fnref=\"" + QByteArray::number(i % 9) + "\">"
            + QByteArray::number(i % 7) + " note text</fn></p>\r\n";
        // One cross-reference in ten breaks a rule or two, as in a file
        // fresh from conversion; the others are clean.
        const bool faulty = i % 10 == 0;
        text += QByteArray(faulty ? "See Figure" : "Shown in") + " <xref rid=\"f" + QByteArray::number(i)
            + "\" type=\"fig\" number=\"" + (faulty ? "0" : "") + QByteArray::number(i % 5 + 1) + "-"
            + QByteArray::number(i % 7 + 1) + "\" range=\"" + (faulty ? "N" : "Y") + "\">Fig. "
            + QByteArray::number(i) + "</xref> and see<i>x</i>.\r\n";
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
        "Tag | Routine | Parameter\r\nN/A | CONVERT2TAG | x\r\n | CONVERT2ATTRIB | x\r\n | NOLEADZERO | W\r\n"
        " | ATTRIBUNCONENTITY | x\r\n | ATTRIBRANGEVALIDITY | W\r\n | ATTRIBNUMBERVALIDITY | W\r\n"
        "<fn> | UNDELFNREF | E\r\n");
    WriteFile(root + "convert2tag.tbl",
        "h\r\nxref | DELETE | see | W | B\r\nfn | COPY | note | W | E\r\ni | DELETE | with | W | S\r\n");
    WriteFile(root + "convert2attrib.tbl",
        "h\r\ntype | fig | DELETE | Figure | W | B\r\ntype | fig | COPY | Fig. | W | E\r\nrid |  | DELETE | "
        "Note | W | E\r\n");
    WriteFile(root + "noleadzero.tbl", "h\r\nxref | number | - #& ,\r\np | id |\r\n");
    WriteFile(
        root + "attribuncon.tbl", "h\r\nxref | rid | &amp; | E / Entity\r\nfn | fnref | &# | W / Entity\r\n");
    WriteFile(root + "special.tbl", "h\r\n\"(space)(space)\",\"Double space\",\"WARNING\",\"I\"\r\n");
    WriteFile(root + "book.xml", MakeBook(bench.range(0) * 1000 * 1000));

    HeadlessOperator ui;
    RunState state(ui);
    TableSet& set = state.config.ActiveTableSet;
    set.file(SupportFile::RoutineDeclTbl) = root + "routine.tbl";
    set.file(SupportFile::SpecialCharTbl) = root + "special.tbl";
    LoadRoutineDeclTable(state, set, IsRoutineName);
    LoadSpecialCharTable(state, set);
    set.file(SupportFile::Convert2TagTbl) = root + "convert2tag.tbl";
    set.file(SupportFile::Convert2AttribTbl) = root + "convert2attrib.tbl";
    set.file(SupportFile::NoLeadZeroTbl) = root + "noleadzero.tbl";
    set.file(SupportFile::AttribUnconTbl) = root + "attribuncon.tbl";
    LoadConvert2TagTable(state, set);
    LoadConvert2AttribTable(state, set);
    LoadNoLeadZeroTable(state, set);
    LoadAttribUnconTable(state, set);
    set.AttribRangeSeparators = { QStringLiteral("-"), QStringLiteral(" to ") };
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

BENCHMARK(ValidateBook)->Arg(5)->Arg(10)->Arg(20)->Arg(100)->Unit(benchmark::kMillisecond);
