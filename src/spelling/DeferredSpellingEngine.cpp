#include "spelling/DeferredSpellingEngine.h"

#include <chrono>

DeferredSpellingEngine::DeferredSpellingEngine(Factory make, Start start)
    : engine_(std::async(
        start == Start::Now ? std::launch::async : std::launch::deferred, [make = std::move(make)] {
            return std::shared_ptr<SpellingEngine>(make());
        }).share())
{
}

DeferredSpellingEngine::~DeferredSpellingEngine()
{
    // An engine made on first question that was never asked is never made.
    if (engine_.wait_for(std::chrono::seconds(0)) == std::future_status::deferred)
        return;
    // A run that ends before asking anything still waits for the thread:
    // it must not outlive what it loads into.
    engine_.wait();
    if (!leak_)
        return;
    try {
        new std::shared_ptr<SpellingEngine>(engine_.get()); // deliberately never deleted
    } catch (...) {
        // An engine that failed to load has nothing to keep.
    }
}

void DeferredSpellingEngine::leakAtExit()
{
    leak_ = true;
}

bool DeferredSpellingEngine::ready() const
{
    return engine_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

SpellingEngine& DeferredSpellingEngine::engine()
{
    return *engine_.get();
}

void DeferredSpellingEngine::SetMainLexPath(const QString& folder)
{
    engine().SetMainLexPath(folder);
}

void DeferredSpellingEngine::SetUserLexPath(const QString& folder)
{
    engine().SetUserLexPath(folder);
}

void DeferredSpellingEngine::SetUserLexFiles(const QString& names)
{
    engine().SetUserLexFiles(names);
}

void DeferredSpellingEngine::SetOption(std::uint32_t option, std::int32_t value)
{
    engine().SetOption(option, value);
}

int DeferredSpellingEngine::CheckString(const QString& text)
{
    return engine().CheckString(text);
}

QStringList DeferredSpellingEngine::Suggest(const QString& text, int depth, int maxCount)
{
    return engine().Suggest(text, depth, maxCount);
}
