#pragma once

#include "core/SpellingEngine.h"

#include <memory>
#include <string>
#include <vector>

class Hunspell;

// A lexicon file of MAINLEXFILES that cannot be loaded, where the engine
// would take it from, and why.
struct LexiconProblem {
    QString path;
    QString reason;
};
// Every file of the comma-separated list that cannot be read, and every
// dictionary (".dic") that is empty or does not start with its word count,
// which the engine would load as no words at all: each word would then be
// an unknown one, a finding turned into another by a lexicon that is not there.
std::vector<LexiconProblem> LexiconProblems(
    const QString& mainLexPath, const QString& userLexPath, const QString& names);

// The Hunspell library file this process answers with, its links resolved;
// empty when it cannot be told. Another Hunspell may answer a question
// otherwise, so kept answers are kept per library file too.
QString HunspellLibraryFile();

// The spelling engine on Hunspell. The lexicon files are looked for in the
// user lexicon folder first, then in the main lexicon folder. A name ending in
// ".dic" with its ".aff" beside it is a dictionary (the first one is the main
// dictionary, later ones are added to it); any other file is a word list, one
// word a line, whose words are added.
class HunspellEngine : public SpellingEngine {
public:
    HunspellEngine();
    ~HunspellEngine() override;

    void SetMainLexPath(const QString& folder) override;
    void SetUserLexPath(const QString& folder) override;
    void SetUserLexFiles(const QString& names) override;
    void SetOption(std::uint32_t option, std::int32_t value) override;
    int CheckString(const QString& text) override;
    QStringList Suggest(const QString& text, int depth, int maxCount) override;

    // The path a lexicon file name stands for: in the user folder when it is
    // there, else in the main folder.
    QString LexiconFilePath(const QString& name) const;

private:
    class Codec;

    void addDictionary(const QString& dicPath, const QString& affPath);
    void addWordList(const QString& path);
    bool encode(const QString& text, std::string& bytes) const;

    QString mainLexPath_;
    QString userLexPath_;
    std::unique_ptr<Hunspell> hunspell_;
    std::unique_ptr<Codec> codec_;
    std::vector<std::string> pendingWords_; // word-list words met before any dictionary, UTF-8
};
