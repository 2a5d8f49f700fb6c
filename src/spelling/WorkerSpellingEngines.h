#pragma once

#include "core/SpellingEngine.h"
#include "spelling/DeferredSpellingEngine.h"

#include <chrono>
#include <memory>
#include <mutex>

// One engine asked from several threads, one question at a time.
class LockedSpellingEngine final : public SpellingEngine {
public:
    LockedSpellingEngine(SpellingEngine& engine, std::mutex& lock);

    void SetMainLexPath(const QString& folder) override;
    void SetUserLexPath(const QString& folder) override;
    void SetUserLexFiles(const QString& names) override;
    void SetOption(std::uint32_t option, std::int32_t value) override;
    int CheckString(const QString& text) override;
    QStringList Suggest(const QString& text, int depth, int maxCount) override;

private:
    SpellingEngine& engine_;
    std::mutex& lock_;
};

// A thread's engine of its own, so that its questions wait for nobody. Its
// questions go to the run's engine behind the lock until they have taken
// `worthOwn` there, waiting included; then `make` makes the thread's own
// engine in the background, and once that is ready it answers instead. So a
// thread that asks little never loads a dictionary, one that asks much pays
// at most about twice what it should, and no answer waits for a load. `make`
// starts its engine with the run's settings: both give the same answers.
class OwnSpellingEngine final : public SpellingEngine {
public:
    OwnSpellingEngine(DeferredSpellingEngine::Factory make, SpellingEngine& shared, std::mutex& lock,
        std::chrono::steady_clock::duration worthOwn);

    void SetMainLexPath(const QString& folder) override;
    void SetUserLexPath(const QString& folder) override;
    void SetUserLexFiles(const QString& names) override;
    void SetOption(std::uint32_t option, std::int32_t value) override;
    int CheckString(const QString& text) override;
    QStringList Suggest(const QString& text, int depth, int maxCount) override;

private:
    template <class Ask> auto ask(Ask&& question);

    DeferredSpellingEngine::Factory make_;
    std::unique_ptr<DeferredSpellingEngine> own_;
    LockedSpellingEngine shared_;
    std::chrono::steady_clock::duration worthOwn_;
    std::chrono::steady_clock::duration spentShared_ {};
};
