#include "BenchSupport.h"

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

// Fifty text-validity rows as a journal's table spreads them over its
// elements: forbidden words and spacing in paragraphs, counts of inline
// elements, repeated and alike values, numbered footnotes, arithmetic and
// dates in tables and histories, some rows only for files with a marker.
// The book has paragraphs, inline elements and footnotes only, so the rows
// of the other elements cost their index look-up alone.
QByteArray TextValidityRows()
{
    const char* rows[] = {
        " | \\bteh\\b | p | Y | fn | x | 0 | W | Misspelt: teh",
        " | \\brecieve\\b | p | Y | fn | x | 0 | W | Misspelt: recieve",
        " | \\bseperate\\b | p | Y | fn | x | 0 | W | Misspelt: seperate",
        " | \\boccured\\b | p | Y | fn | x | 0 | W | Misspelt: occured",
        " | \\buntill\\b | p | Y | fn | x | 0 | W | Misspelt: untill",
        " | \\s\\s | p | N | | x | 0 | W | Double space",
        " | \\s[,.;:] | p | N | | x | 0 | W | Blank before punctuation",
        " | \\b(\\w+)<space>\\1\\b | p | Y | fn | x | 0 | W | Word repeated",
        " | <i>(\\w+)</i> | p | N | | !dup | 0 | W | Italic word repeated",
        " | <b> | p | N | | =< | 3 | W | Too much bold",
        " | <fn | p | N | | =< | 2 | W | More than two footnotes",
        " | \\s<fn | p | N | | x | 0 | W | Blank before a footnote",
        " | ^\\s | p | N | | x | 0 | E | Paragraph starts with a blank",
        " | (\\d+) | p | Y | fn | !dup | 0 | W | Number repeated",
        "<book> | (Some) | p | N | | dup | 0 | W | Opening differs",
        "<chapter> | here | p | N | | x | 0 | W | Not in chapters",
        " | ^(\\d+) | fn | N | | !dup | 0 | W | Footnote number repeated",
        " | (\\d+) note | fn | N | | @eval(=<)$1*2 | 20 | E | Footnote number too large",
        " | ^(\\d) | fn | N | | +1 | 0 | W | Footnote numbers out of sequence",
        " | \\bnote\\b | fn | N | | > | 0 | W | Footnote without a note",
        "ZZZ | text | fn | N | | x | 0 | W | Never applies",
        " | (\\w+) | i | N | | =< | 4 | W | Long italic run",
        " | \\d | i | N | | x | 0 | W | Digit in italics",
        " | (\\w+) | b | N | | =< | 4 | W | Long bold run",
        " | \\d | b | N | | x | 0 | W | Digit in bold",
        " | \\.$ | title | N | | x | 0 | W | Title ends with a full stop",
        " | <hrt> | title | N | | x | 0 | E | Line break in a title",
        " | ^\\s | title | N | | x | 0 | E | Title starts with a blank",
        " | <graphic<space> | fig | N | | = | 1 | E | A figure holds one graphic",
        " | <caption> | fig | N | | > | 0 | W | Figure without a caption",
        " | <label> | fig | N | | =< | 1 | W | More than one figure label",
        " | \\.$ | caption | Y | | x | 0 | W | Caption ends with a full stop",
        " | ^\\s | caption | N | | x | 0 | W | Caption starts with a blank",
        " | <label>(\\d+)\\.?</label> | list | N | | +1 | 0 | E | List labels out of sequence",
        " | <item> | list | N | | > | 1 | W | List with one item",
        " | <td>(\\d+)</td><td>(\\d+)</td><td>(\\d+)</td>$ | tr | N | | @eval(=)$1+$2-$3 | 0 | E | Total",
        " | <td | tr | N | | > | 0 | E | Empty table row",
        " | \\d\\.\\d{3,} | td | N | | x | 0 | W | More than two decimals",
        " | <label>([^<]+)</label> | ref-list | N | | !dup | 0 | E | Duplicate reference label",
        " | <ref<space> | ref-list | N | | > | 0 | W | Empty reference list",
        " | \\(\\d{4}\\) | ref | N | | = | 1 | W | One year per reference",
        " | (J(?:ournal)?\\.?)<space> | ref | N | | dup | 0 | W | Journal names differ",
        " | ^([^<]+)$ | date | N | | =<@now | 0 | E | Date lies in the future",
        " | ^\\d | date | N | | = | 1 | E | Date not numeric",
        " | <title> | sec | N | sec | = | 1 | E | Section without one title",
        " | <p> | sec | N | | > | 0 | W | Empty section",
        " | <p> | abstract | N | | = | 1 | W | Abstract of more than one paragraph",
        "<article | <contrib | authors | N | | > | 0 | W | No author",
        " | \\d | author | N | | x | 0 | W | Digit in an author name",
        " | ,$ | author | N | | x | 0 | W | Author name ends with a comma",
    };
    QByteArray table
        = "Condition | Value | Tag | Split | Excluded | Operator | Number | Severity | Message\r\n";
    for (const char* row : rows)
        table += QByteArray(row) + "\r\n";
    return table;
}

// The whole per-file job: load, whole-file checks, scan and dispatch, reports.
void ValidateBook(benchmark::State& bench)
{
    BenchRun run;
    // The second argument picks the routines: every one, the text-validity
    // rows alone, the attribute and conversion routines alone, or none.
    const QByteArray attributeRows = "N/A | CONVERT2TAG | x\r\n | CONVERT2ATTRIB | x\r\n | NOLEADZERO | W\r\n"
                                     " | ATTRIBUNCONENTITY | x\r\n | ATTRIBRANGEVALIDITY | W\r\n"
                                     " | ATTRIBNUMBERVALIDITY | W\r\n";
    const QByteArray textValidityRows = "<fn> | TEXTVALIDITY | N/A\r\n<p> | TEXTVALIDITY | N/A\r\n";
    const QByteArray declared[] = {
        attributeRows + "<fn> | UNDELFNREF | E\r\n | TEXTVALIDITY | N/A\r\n<p> | TEXTVALIDITY | N/A\r\n",
        textValidityRows,
        attributeRows,
        "",
    };
    run.state.activeTables.AttribRangeSeparators = { QStringLiteral("-"), QStringLiteral(" to ") };
    run.table(SupportFile::RoutineDeclTbl, "routine.tbl",
        "Tag | Routine | Parameter\r\n" + declared[bench.range(1)]);
    run.table(SupportFile::TextValidityTbl, "textvalidity.tbl", TextValidityRows());
    run.table(SupportFile::Convert2TagTbl, "convert2tag.tbl",
        "h\r\nxref | DELETE | see | W | B\r\nfn | COPY | note | W | E\r\ni | DELETE | with | W | S\r\n");
    run.table(SupportFile::Convert2AttribTbl, "convert2attrib.tbl",
        "h\r\ntype | fig | DELETE | Figure | W | B\r\ntype | fig | COPY | Fig. | W | E\r\nrid |  | DELETE | "
        "Note | W | E\r\n");
    run.table(SupportFile::NoLeadZeroTbl, "noleadzero.tbl", "h\r\nxref | number | - #& ,\r\np | id |\r\n");
    run.table(SupportFile::AttribUnconTbl, "attribuncon.tbl",
        "h\r\nxref | rid | &amp; | E / Entity\r\nfn | fnref | &# | W / Entity\r\n");
    run.table(SupportFile::SpecialCharTbl, "special.tbl",
        "h\r\n\"(space)(space)\",\"Double space\",\"WARNING\",\"I\"\r\n");
    run.input(MakeBook(bench.range(0) * 1000 * 1000));
    for (auto _ : bench)
        run.validate();
    bench.counters["lines"] = run.state.file.lineCount();
    bench.counters["findings"] = run.state.report.errorCount + run.state.report.warningCount;
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
    BenchRun run;
    TableSet& set = run.state.activeTables;
    set.CheckMultiHrt = Switch::On;
    set.MultiHrtMaxCount = 2;
    run.table(SupportFile::RoutineDeclTbl, "routine.tbl",
        "Tag | Routine | Parameter\r\n<sec> | UNCONENTITIES | N/A\r\n | NOHRT | N/A\r\n | WITHHRT | N/A\r\n"
        "<fn> | UNDELFNREF | E\r\n");
    run.table(SupportFile::NoHRTDeclTbl, "nohrt.tbl",
        "h\r\n<sec> | <title> | E\r\n<sec> | <p> | W\r\n<p> | <p> | W\r\n");
    run.table(SupportFile::WithHRTDeclTbl, "withhrt.tbl",
        "h\r\n<sec> | S | E\r\n</p> | E | W\r\n<title> | S | W\r\n");
    run.table(SupportFile::UnConEntitiesTbl, "uncon.tbl",
        "&amp;# E / Numeric entity escaped twice\r\n&lt;i&gt; E / Escaped italic tag\r\n-- W / Double "
        "hyphen\r\n"
        "`` W / Backquotes\r\n<space>, W / Blank before a comma\r\n&nbsp<space> E / No semicolon\r\n");
    run.input(MakeNestedBook(bench.range(0) * 1000 * 1000));
    for (auto _ : bench)
        run.validate();
    bench.counters["findings"] = run.state.report.errorCount + run.state.report.warningCount;
    bench.SetBytesProcessed(bench.iterations() * bench.range(0) * 1000 * 1000);
}

} // namespace

BENCHMARK(ValidateBook)
    ->ArgNames({ "MB", "rules" })
    ->ArgsProduct({ { 10, 100 }, { 0, 1, 2, 3 } })
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ValidateNestedBook)->Arg(10)->Arg(20)->Arg(100)->Unit(benchmark::kMillisecond);
