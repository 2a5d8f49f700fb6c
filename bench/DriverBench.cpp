#include "app/HeadlessOperator.h"
#include "config/RoutineDeclTable.h"
#include "core/RunState.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/AttributeValues.h"
#include "rules/CharacterPatterns.h"
#include "rules/ConvertToAttribute.h"
#include "rules/ConvertToTag.h"
#include "rules/HardReturns.h"
#include "rules/RuleRegistry.h"
#include "rules/TextValidity.h"
#include "rules/UnconvertedEntities.h"

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
    // The second argument picks the routines: every one, the text-validity
    // rows alone, or the attribute and conversion routines alone.
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
    WriteFile(root + "routine.tbl", "Tag | Routine | Parameter\r\n" + declared[bench.range(1)]);
    WriteFile(root + "textvalidity.tbl", TextValidityRows());
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
    set.file(SupportFile::TextValidityTbl) = root + "textvalidity.tbl";
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
    LoadTextValidityTable(state, set);
    state.reportFolder = root;
    state.outputFolder = root;
    for (auto _ : bench) {
        state.inputPath = root + "book.xml";
        OpenReports(state);
        ValidateFile(state, Rules());
        CloseReports(state);
    }
    bench.counters["lines"] = state.lineCount();
    bench.counters["findings"] = state.report.errorCount + state.report.warningCount;
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

BENCHMARK(ValidateBook)
    ->ArgNames({ "MB", "rules" })
    ->ArgsProduct({ { 10, 100 }, { 0, 1, 2, 3 } })
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ValidateNestedBook)->Arg(10)->Arg(20)->Arg(100)->Unit(benchmark::kMillisecond);
