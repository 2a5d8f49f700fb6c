// The cross-reference, pair and content routines must cost no more than the
// size of the file, well-formed or not. Each shape runs the whole per-file
// job (the six routines declared as the sample installation declares them,
// reports written) at 1x and 10x; the ratio of the times should stay near 10.
//
//   build-bench/bench/quorvane_xref_bench          every shape
//   build-bench/bench/quorvane_xref_bench Pairs    the shapes whose name holds "Pairs"

#include "BenchSupport.h"

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

QByteArray n(qsizetype i)
{
    return QByteArray::number(i);
}

// A well-formed article: ten references cited per paragraph in order, a
// figure callout each, every reference and figure defined at the end.
QByteArray article(qsizetype scale)
{
    const qsizetype paragraphs = 2500 * scale; // about 1 MB a scale
    QByteArray text = "<paper>\r\n<runninghead>Suction in barriers</runninghead>\r\n"
                      "<paper-title>Suction in barriers at two sites</paper-title>\r\n"
                      "<contrib><country>Sweden</country></contrib>\r\n";
    for (qsizetype p = 0; p < paragraphs; ++p) {
        text += "<txt>Capillary barriers (see <figref ref=\"g" + n(p + 1) + "\">" + n(p + 1)
            + "</figref>) hold water";
        for (qsizetype c = 1; c <= 2; ++c) {
            const qsizetype cited = p * 2 + c;
            text += " as shown <cite ref=\"c" + n(cited) + "\">[" + n(cited) + "]</cite>";
        }
        text += " above a coarse layer.</txt>\r\n";
    }
    for (qsizetype p = 0; p < paragraphs; ++p)
        text += "<figure id=\"g" + n(p + 1) + "\"><legend>Layout.</legend></figure>\r\n";
    text += "<bibliography>\r\n";
    for (qsizetype c = 1; c <= paragraphs * 2; ++c)
        text += "<bibitem id=\"c" + n(c) + "\">Ross, B. (1990). The diversion capacity.</bibitem>\r\n";
    return text + "</bibliography>\r\n</paper>\r\n";
}

struct Shape {
    const char* name;
    std::function<QByteArray(qsizetype scale)> input;
};

const Shape kShapes[] = {
    { "Article", article },
    // Openings never closed, in one long paragraph and in many short ones.
    { "UnclosedPairsInOneElement",
        [](qsizetype s) { return "<txt>" + Repeat("( [ <i>x\r\n", 20000 * s) + "</txt>\r\n"; } },
    { "UnclosedPairsInManyElements",
        [](qsizetype s) { return Repeat("<txt>( [ <i>x</txt>\r\n", 40000 * s); } },
    // Closings with no opening under a deep stack of openings of another kind.
    { "ClosingsUnderDeepOpenings",
        [](qsizetype s) {
            return "<txt>" + Repeat("(", 50000 * s) + Repeat("]", 50000 * s) + "</txt>\r\n";
        } },
    { "DeeplyNestedPairContents",
        [](qsizetype s) {
            return "<bibitem>" + Repeat("(", 200000 * s) + Repeat(")", 200000 * s) + "</bibitem>\r\n";
        } },
    // References to nothing and targets nobody names, judged at the end.
    { "ReferencesToNothing",
        [](qsizetype s) {
            QByteArray text;
            for (qsizetype i = 0; i < 25000 * s; ++i)
                text += "<cite ref=\"x" + n(i) + " y" + n(i) + "\">[1]</cite><bibitem id=\"c" + n(i)
                    + "\">B</bibitem>\r\n";
            return text;
        } },
    // Every citation jumps ahead.
    { "CitationsJumpingAhead",
        [](qsizetype s) {
            QByteArray text;
            for (qsizetype i = 0; i < 30000 * s; ++i)
                text += "<cite ref=\"c1\">[" + n(i * 3 + 1) + "-" + n(i * 3 + 1000000) + "]</cite>\r\n";
            return text;
        } },
    // Citations, countries and titles nested in themselves, closed at the end.
    { "NestedSameElements",
        [](qsizetype s) {
            return Repeat("<cite>[1]<country>x<paper-title>t\r\n", 20000 * s)
                + Repeat("</paper-title></country></cite>\r\n", 20000 * s);
        } },
    // Titles that never meet their running head.
    { "OccurrencesWithoutPartner",
        [](qsizetype s) { return Repeat("<paper-title>A title</paper-title>\r\n", 40000 * s); } },
};

void install(BenchRun& run)
{
    run.table(SupportFile::CitationValTbl, "citationval.tbl",
        "h\r\ncite | | \\[([^\\]]*)\\] | E | Reference cited out of order\r\nfigref | | (\\d+) | W | Figure "
        "out of order\r\n");
    run.table(SupportFile::CountRefCheck, "countrefcheck.tbl",
        "h\r\ncite | ref | bibitem | id | Y | E\r\nfigref | ref | figure | id | Y | E\r\n");
    run.table(SupportFile::CheckPairTbl, "checkpair.tbl",
        "h\r\ntxt | ( | ) | E | Parens\r\ntxt | [ | ] | E | Brackets\r\ntxt | <i> | </i> | W | Italic\r\n");
    run.table(SupportFile::CheckPairContTbl, "checkpaircont.tbl",
        "h\r\nbibitem | ( | ) | ^\\d{4}[a-z]?$ | W | Year\r\ncite | [ | ] | ^[0-9,;\\- ]+$ | E | "
        "Numbers\r\n");
    run.table(SupportFile::CompContTbl, "compcont.tbl",
        "h\r\npaper-title | runninghead | BEGINSWITH | W | Title\r\n");
    run.table(
        SupportFile::PCPDataCompare, "pcpdatacompare.tbl", "h\r\ncountry | Sweden; Ghana | E | Country\r\n");
    run.table(SupportFile::RoutineDeclTbl, "routine.tbl",
        "Tag | Routine | Parameter\r\n"
        "<runninghead> | COMPCONT | N/A\r\n<paper-title> | COMPCONT | N/A\r\n"
        "<country> | PCPDATACOMPARE | N/A\r\n<txt> | CHECKPAIRVALIDITY | N/A\r\n"
        "<cite> | CITATIONVALIDITY | N/A\r\n | CHECKCOUNTREFVALIDITY | N/A\r\n | CHECKPAIRCONTVALIDITY | "
        "N/A\r\n"
        "<figref> | CITATIONVALIDITY | N/A\r\n | CHECKCOUNTREFVALIDITY | N/A\r\n"
        "<figure> | CHECKCOUNTREFVALIDITY | N/A\r\n"
        "<bibitem> | CHECKCOUNTREFVALIDITY | N/A\r\n | CHECKPAIRCONTVALIDITY | N/A\r\n");
}

// The best of three runs, in milliseconds, with the entries the run wrote.
std::pair<double, std::int64_t> timeShape(const Shape& shape, qsizetype scale, qsizetype& bytes)
{
    BenchRun run;
    install(run);
    const QByteArray input = shape.input(scale);
    bytes = input.size();
    run.input(input);
    double best = 1e300;
    std::int64_t entries = 0;
    for (int round = 0; round < 3; ++round) {
        run.state.file.openTags.clear();
        run.state.file.openTagNames.clear();
        QElapsedTimer timer;
        timer.start();
        run.validate();
        best = std::min(best, timer.nsecsElapsed() / 1e6);
        entries = run.state.report.errorCount + run.state.report.warningCount;
    }
    return { best, entries };
}

} // namespace

int main(int argc, char** argv)
{
    const QByteArray filter = argc > 1 ? QByteArray(argv[1]) : QByteArray();
    std::printf("%-28s %9s %9s %11s %9s %7s\n", "shape", "MB at 10x", "1x ms", "10x ms", "entries", "ratio");
    bool linear = true;
    for (const Shape& shape : kShapes) {
        if (!QByteArray(shape.name).contains(filter))
            continue;
        qsizetype small = 0;
        qsizetype large = 0;
        const auto [once, fewEntries] = timeShape(shape, 1, small);
        const auto [tenTimes, entries] = timeShape(shape, 10, large);
        const double ratio = tenTimes / std::max(once, 0.001);
        linear = linear && ratio < 15;
        std::printf("%-28s %9.1f %9.1f %11.1f %9lld %7.1f%s\n", shape.name, large / 1e6, once, tenTimes,
            static_cast<long long>(entries), ratio, ratio < 15 ? "" : "  (not linear)");
        std::fflush(stdout);
    }
    return linear ? 0 : 1;
}
