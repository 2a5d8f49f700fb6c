#include "BenchSupport.h"
#include "spelling/HunspellEngine.h"

#include <QFileInfo>
#include <benchmark/benchmark.h>
#include <ctime>
#include <type_traits>

namespace {

const QString kDictionaryFolder = QStringLiteral("/usr/share/hunspell/");

// Passes every question on and measures the time spent answering it.
class TimedEngine : public SpellingEngine {
public:
    explicit TimedEngine(std::unique_ptr<SpellingEngine> inner)
        : inner_(std::move(inner))
    {
    }
    void SetMainLexPath(const QString& folder) override { inner_->SetMainLexPath(folder); }
    void SetUserLexPath(const QString& folder) override { inner_->SetUserLexPath(folder); }
    void SetUserLexFiles(const QString& names) override { inner_->SetUserLexFiles(names); }
    void SetOption(std::uint32_t option, std::int32_t value) override { inner_->SetOption(option, value); }
    int CheckString(const QString& text) override
    {
        ++checks;
        return timed([&] { return inner_->CheckString(text); });
    }
    QStringList Suggest(const QString& text, int depth, int maxCount) override
    {
        ++suggests;
        return timed([&] { return inner_->Suggest(text, depth, maxCount); });
    }

    double seconds = 0;
    std::int64_t checks = 0;
    std::int64_t suggests = 0;

private:
    // Processor time, like the benchmark's CPU column: the machine may be shared.
    template <typename Call> std::invoke_result_t<Call> timed(Call call)
    {
        const std::clock_t start = std::clock();
        auto result = call();
        seconds += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        return result;
    }

    std::unique_ptr<SpellingEngine> inner_;
};

// 50 x 40 = 2,000 distinct compounds that the dictionary knows part by part;
// every tenth has a typo in its second part.
QList<QByteArray> Compounds()
{
    const QList<QByteArray> first = { "water", "clay", "sand", "field", "time", "cross", "long", "high",
        "low", "self", "heat", "rain", "frost", "salt", "stone", "iron", "steel", "glass", "wood", "paper",
        "cell", "probe", "liner", "soil", "rock", "gas", "oil", "air", "sun", "wind", "snow", "ice", "mud",
        "peat", "lime", "road", "rail", "farm", "town", "city", "lake", "river", "sea", "hill", "tree",
        "root", "leaf", "seed", "crop", "dust" };
    const QList<QByteArray> second = { "based", "driven", "filled", "borne", "free", "rich", "poor", "proof",
        "tight", "like", "bound", "wide", "scale", "level", "side", "line", "flow", "rate", "test", "zone",
        "cover", "layer", "front", "path", "point", "cycle", "period", "phase", "range", "limit", "ratio",
        "table", "sample", "model", "grade", "class", "group", "series", "system", "method" };
    QList<QByteArray> compounds;
    for (const QByteArray& a : first) {
        for (const QByteArray& b : second) {
            QByteArray tail = b;
            if (compounds.size() % 10 == 9)
                std::swap(tail[1], tail[2]); // "based" becomes "bsaed"
            compounds.append(a + "-" + tail);
        }
    }
    return compounds;
}

// Paragraphs of five lines of about 100 characters: a compound about every
// 200 characters, and a word split at a line end every 20 lines.
QByteArray MakeHyphenatedBook(qsizetype targetSize)
{
    const QList<QByteArray> compounds = Compounds();
    const QList<QByteArray> splits = { "inter-\r\nnational", "measure-\r\nments", "hydrau-\r\nlic",
        "perme-\r\nability", "con-\r\nductivity", "satu-\r\nration", "labo-\r\nratory", "compac-\r\ntion" };
    QByteArray text = "<?xml version=\"1.0\"?>\r\n<book>\r\n";
    qsizetype compound = 0;
    qsizetype line = 0;
    while (text.size() < targetSize) {
        text += "<p>";
        for (int i = 0; i < 5; ++i, ++line) {
            const bool split = line % 20 == 19;
            text += "The measured values of the " + compounds[compound++ % compounds.size()]
                + " samples stayed within the expected band, as in ";
            text += split ? "the " + splits[(line / 20) % splits.size()] + " tests reported before"
                          : QByteArray("the tests reported earlier\r\n");
        }
        text += "</p>\r\n";
    }
    return text + "</book>\r\n";
}

// The whole per-file job with both word checks on every paragraph, the
// engine on the system's en-US dictionary, its answers cached for the run.
void ValidateHyphenatedBook(benchmark::State& bench)
{
    if (!QFileInfo(kDictionaryFolder + "en_US.dic").isFile()) {
        bench.SkipWithError("the en-US Hunspell dictionary is not installed");
        return;
    }
    BenchRun run;
    RunState& state = run.state;
    run.table(SupportFile::RoutineDeclTbl, "routine.tbl",
        "Tag | Routine | Parameter\r\n<p> | HYPHENATEDWORDCHECK | E\r\n | COMPOUNDWORDCHECK | W\r\n");
    run.table(SupportFile::HyphenatedTbl, "hyphenated.tbl",
        "Accepted hyphenated words\r\nwater-based\r\nlong-term\r\nself-free\r\n");
    run.input(MakeHyphenatedBook(bench.range(0) * 1000 * 1000));
    double engineSeconds = 0;
    std::int64_t suggests = 0;
    std::int64_t checks = 0;
    for (auto _ : bench) {
        // Every iteration is a fresh run: a new engine and an empty cache.
        auto hunspell = std::make_unique<HunspellEngine>();
        hunspell->SetMainLexPath(kDictionaryFolder);
        hunspell->SetUserLexPath(run.root);
        hunspell->SetUserLexFiles(QStringLiteral("en_US.dic"));
        auto timed = std::make_unique<TimedEngine>(std::move(hunspell));
        TimedEngine& engine = *timed;
        state.installation->spelling.engine = std::move(timed);
        state.installation->spelling.answers.clear();
        run.validate();
        engineSeconds += engine.seconds;
        suggests += engine.suggests;
        checks += engine.checks;
    }
    const auto perRun = [&](double value) { return benchmark::Counter(value / bench.iterations()); };
    bench.counters["engine_cpu_s"] = perRun(engineSeconds);
    bench.counters["suggests"] = perRun(static_cast<double>(suggests));
    bench.counters["checks"] = perRun(static_cast<double>(checks));
    bench.counters["findings"] = static_cast<double>(state.report.errorCount + state.report.warningCount);
    bench.SetBytesProcessed(bench.iterations() * bench.range(0) * 1000 * 1000);
}

} // namespace

BENCHMARK(ValidateHyphenatedBook)->Arg(10)->Iterations(1)->Unit(benchmark::kMillisecond);
