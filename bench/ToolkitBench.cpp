#include "app/HeadlessOperator.h"
#include "text/TagScanner.h"

#include <benchmark/benchmark.h>
#include <random>

namespace {

// A document shaped like conversion output: one root element, paragraphs of
// words with many small inline elements (some with attributes), CR LF lines.
// About 20 characters a tag, so 10 MB holds about 500,000 tags.
QString MakeDocument(qsizetype targetSize)
{
    std::mt19937 rng(1);
    const QStringList words
        = { "alphabetic", "betatron", "gammaray", "deltawing", "textual", "offering", "thereof" };
    QString text = "<doc id=\"d1\">\r\n";
    int id = 0;
    while (text.size() < targetSize) {
        text += "<p id=\"p" + QString::number(++id) + "\">";
        for (int i = 0; i < 8; ++i) {
            text += words[rng() % words.size()] + " " + words[rng() % words.size()] + " ";
            switch (rng() % 4) {
            case 0:
                text += "<i>x</i> ";
                break;
            case 1:
                text += "<b>bold</b> ";
                break;
            case 2:
                text += "<sup>2</sup>";
                break;
            default:
                text += "<br/>";
                break;
            }
        }
        text += "</p>\r\n";
    }
    return text + "</doc>\r\n";
}

struct Fixture {
    HeadlessOperator ui;
    ToolkitState state;
    QString appPath;
    TagScanner xml { state };
};

const QString& Document(qsizetype megabytes)
{
    static std::map<qsizetype, QString> cache;
    auto& text = cache[megabytes];
    if (text.isEmpty())
        text = MakeDocument(megabytes * 1000 * 1000);
    return text;
}

void RetrieveEveryTagLineByLine(benchmark::State& state)
{
    Fixture f;
    const QStringList lines = Document(state.range(0)).split("\r\n");
    qint64 tags = 0;
    for (auto _ : state) {
        tags = 0;
        for (const QString& line : lines)
            for (auto match = f.xml.FindTag(line, 0); match; match = f.xml.FindTag(line, match->start + 1))
                ++tags;
    }
    state.counters["tags"] = double(tags);
    state.SetBytesProcessed(state.iterations() * Document(state.range(0)).size() * 2);
}

void PcdataOfEveryElement(benchmark::State& state)
{
    Fixture f;
    const QString& text = Document(state.range(0));
    qint64 elements = 0;
    for (auto _ : state) {
        elements = 0;
        for (auto match = f.xml.FindTag(text, 0); match; match = f.xml.FindTag(text, match->start + 1)) {
            const QString tag = match->text.toString();
            if (f.xml.GetTagType(tag) != TagKind::Start)
                continue;
            std::int32_t at = static_cast<std::int32_t>(match->start + 1);
            benchmark::DoNotOptimize(f.xml.GetPCDATA(text, tag, "</" + f.xml.GetTagName(tag) + ">", at));
            ++elements;
        }
    }
    state.counters["elements"] = double(elements);
    state.SetBytesProcessed(state.iterations() * text.size() * 2);
}

void RemoveTagsOfRootContent(benchmark::State& state, bool withContent)
{
    Fixture f;
    const QString& text = Document(state.range(0));
    std::int32_t pos = 1;
    const QString root = f.xml.GetPCDATA(text, "<doc id=\"d1\">", "</doc>", pos);
    for (auto _ : state) {
        QString content = root;
        benchmark::DoNotOptimize(f.xml.RemoveTags(content, withContent));
    }
    state.SetBytesProcessed(state.iterations() * root.size() * 2);
}

void RemoveTagsKeepingContent(benchmark::State& state)
{
    RemoveTagsOfRootContent(state, false);
}
void RemoveTagsWithContent(benchmark::State& state)
{
    RemoveTagsOfRootContent(state, true);
}

} // namespace

// Argument: document size in MB; 5 and 10 show how the cost grows with size.
BENCHMARK(RetrieveEveryTagLineByLine)->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(PcdataOfEveryElement)->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(RemoveTagsKeepingContent)->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(RemoveTagsWithContent)->Arg(5)->Arg(10)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
