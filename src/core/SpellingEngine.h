#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>

// The spelling engine as the word checks use it: the lexicon settings handed
// over once at start-up, then questions about single texts. The run never
// knows which library answers.
class SpellingEngine {
public:
    // What CheckString answers when no word of the text is misspelt.
    static constexpr int kNoMisspelling = 64;

    virtual ~SpellingEngine() = default;

    virtual void SetMainLexPath(const QString& folder) = 0;
    virtual void SetUserLexPath(const QString& folder) = 0;
    // Comma-separated file names: dictionaries and word lists.
    virtual void SetUserLexFiles(const QString& names) = 0;
    // Options the engine does not know are accepted and ignored.
    virtual void SetOption(std::uint32_t option, std::int32_t value) = 0;
    // kNoMisspelling when the text holds no misspelt word, another code otherwise.
    virtual int CheckString(const QString& text) = 0;
    // At most maxCount suggested words for a misspelt text, best first.
    virtual QStringList Suggest(const QString& text, int depth, int maxCount) = 0;
};

// One engine answer, kept so that the run asks about each text only once.
struct SpellingAnswer {
    bool misspelt = false;
    bool suggested = false; // suggestions below were asked for
    QStringList suggestions;
};

// The engine of the run and what the word checks share around it.
struct SpellingState {
    // Null until start-up starts it. Files validated side by side share it,
    // one question at a time.
    std::unique_ptr<SpellingEngine> engine;
    // Makes another engine that answers as this one does, for a thread that
    // should not wait for the others; empty when there is no such maker.
    std::function<std::unique_ptr<SpellingEngine>()> makeEngine;
    // Where start-up keeps the engine's answers from run to run; empty keeps
    // them for the run only.
    QString cacheFolder;
    QHash<QString, SpellingAnswer> answers; // per text asked; the lexicon never changes during a run
};
