#include "app/Startup.h"

#include "app/CommandLine.h"
#include "app/RunState.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "config/SupportTables.h"
#include "core/MoveFiles.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "rules/RuleRegistry.h"
#include "spelling/DeferredSpellingEngine.h"
#include "spelling/HunspellEngine.h"
#include "spelling/SpellingAnswerStore.h"

#include <QFileInfo>
#include <cstdio>

namespace {

void refuse()
{
    throw RunAborted(ExitStatus::Refused);
}

// The engine's answers are not examined here: a lexicon that failed to load
// shows up as the engine's answers during the run. The file list goes to the
// user-lexicon call, which looks in the user folder before the main one.
std::unique_ptr<SpellingEngine> startEngine(
    const QString& mainLexPath, const QString& userLexPath, const QString& mainLexFiles)
{
    constexpr std::uint32_t kEngineOption = 0x200000;
    auto engine = std::make_unique<HunspellEngine>();
    engine->SetMainLexPath(mainLexPath);
    engine->SetUserLexPath(userLexPath);
    engine->SetUserLexFiles(mainLexFiles);
    engine->SetOption(kEngineOption, 1);
    return engine;
}

// The engine is built on first use, in the middle of a run; a lexicon it
// could not load would only show as words it does not know. So the files
// are looked at here, and one that cannot be loaded refuses the run as a
// missing table does.
void refuseUnloadableLexicon(RunState& state)
{
    const Configuration& config = state.config;
    const auto problems = LexiconProblems(config.MainLexPath, config.UserLexPath, config.MainLexFiles);
    if (problems.empty())
        return;
    for (const LexiconProblem& problem : problems) {
        state.ui.messageBox(QStringLiteral("Error while reading ") + problem.path
                + QStringLiteral("!  -- Error: ") + problem.reason,
            kProgramTitle, MessageIcon::Critical);
    }
    refuse();
}

// Every engine it makes answers alike.
std::function<std::unique_ptr<SpellingEngine>()> engineFactory(const Configuration& config)
{
    return [main = config.MainLexPath, user = config.UserLexPath, files = config.MainLexFiles] {
        return startEngine(main, user, files);
    };
}

// The engine sits below the run's answer store. With answers kept from an
// earlier run the dictionary is loaded only when a question finds none: a
// batch run again often asks nothing new.
void StartSpellingEngine(RunState& state, SpellingState& spelling)
{
    refuseUnloadableLexicon(state);
    const Configuration& config = state.config;
    spelling.makeEngine = engineFactory(config);
    auto store = spelling.cacheFolder.isEmpty()
        ? std::make_shared<SpellingAnswerStore>()
        : std::make_shared<SpellingAnswerStore>(spelling.cacheFolder,
            LexiconIdentity(config.MainLexPath, config.UserLexPath, config.MainLexFiles),
            [](const QString& line) { std::fprintf(stderr, "%s\n", qPrintable(line)); });
    const auto start = store->loadedCount() > 0 ? DeferredSpellingEngine::Start::OnFirstQuestion
                                                : DeferredSpellingEngine::Start::Now;
    spelling.engine = std::make_unique<CachingSpellingEngine>(
        std::move(store), std::make_unique<DeferredSpellingEngine>(spelling.makeEngine, start));
}

// The run ends here without a box; a shell user still learns which folder and why.
void makeRunFolder(RunState& state, const QString& folder)
{
    QString reason;
    if (FolderServices::MakeFolder(folder, &reason))
        return;
    state.ui.diagnostic(QStringLiteral("cannot create folder %1: %2").arg(folder, reason));
    refuse();
}

void FillSingleFileRun(RunState& state, const QString& commandLine)
{
    state.batchMode = false;
    const InputRequest request = SplitCommandLine(commandLine);
    state.inputPath = request.inputPath;
    state.taskCode = request.taskCode;

    if (!QFileInfo(state.inputPath).isFile()) {
        state.ui.messageBox(
            state.inputPath + QStringLiteral(" not found!"), kProgramTitle, MessageIcon::Critical);
        refuse();
    }
    state.inputFileName = InputFileNameOf(state.inputPath);
    state.parentFolderPart = ParentFolderPartOf(state.inputPath);
    state.outputFolder = state.outputPath + state.parentFolderPart;
    state.currentInputPath = state.inputPath;
    state.reportFolder = state.workPath;

    makeRunFolder(state, state.outputFolder);
    if (!state.config.CreateLogFolder.isEmpty())
        makeRunFolder(state, state.outputFolder + state.config.CreateLogFolder + QLatin1Char('/'));
}

} // namespace

RunMode Main(RunState& state, const QString& commandLine)
{
    // A batch takes the temporary folder per batch, not for the life of its
    // window: an idle window must not keep every other run waiting.
    const bool batch = commandLine.trimmed().isEmpty();
    LoadedInstallation& installation = state.ownInstallation();
    const ConfigurationLoading loading { state.ui, installation.config };
    if (!(batch ? ReadConfigurationFile(loading) : ReadConfigurationFile(loading, state.tempFolder)))
        refuse();
    StartSpellingEngine(state, installation.spelling);
    if (!LoadAllSupportTables(loading, SupportTableLoaders()))
        refuse();
    state.workPath = state.config.WorkPath;
    state.outputPath = state.config.OutputPath;

    state.inputPath = commandLine.trimmed();
    if (state.inputPath.isEmpty()) {
        state.batchMode = true;
        return RunMode::Batch;
    }
    FillSingleFileRun(state, commandLine);
    return RunMode::SingleFile;
}
