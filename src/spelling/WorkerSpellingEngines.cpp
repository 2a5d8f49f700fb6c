#include "spelling/WorkerSpellingEngines.h"

LockedSpellingEngine::LockedSpellingEngine(SpellingEngine& engine, std::mutex& lock)
    : engine_(engine)
    , lock_(lock)
{
}

void LockedSpellingEngine::SetMainLexPath(const QString& folder)
{
    const std::lock_guard hold(lock_);
    engine_.SetMainLexPath(folder);
}

void LockedSpellingEngine::SetUserLexPath(const QString& folder)
{
    const std::lock_guard hold(lock_);
    engine_.SetUserLexPath(folder);
}

void LockedSpellingEngine::SetUserLexFiles(const QString& names)
{
    const std::lock_guard hold(lock_);
    engine_.SetUserLexFiles(names);
}

void LockedSpellingEngine::SetOption(std::uint32_t option, std::int32_t value)
{
    const std::lock_guard hold(lock_);
    engine_.SetOption(option, value);
}

int LockedSpellingEngine::CheckString(const QString& text)
{
    const std::lock_guard hold(lock_);
    return engine_.CheckString(text);
}

QStringList LockedSpellingEngine::Suggest(const QString& text, int depth, int maxCount)
{
    const std::lock_guard hold(lock_);
    return engine_.Suggest(text, depth, maxCount);
}

OwnSpellingEngine::OwnSpellingEngine(DeferredSpellingEngine::Factory make, SpellingEngine& shared,
    std::mutex& lock, std::chrono::steady_clock::duration worthOwn)
    : make_(std::move(make))
    , shared_(shared, lock)
    , worthOwn_(worthOwn)
{
}

template <class Ask> auto OwnSpellingEngine::ask(Ask&& question)
{
    if (own_ && own_->ready())
        return question(static_cast<SpellingEngine&>(*own_));
    const auto asked = std::chrono::steady_clock::now();
    auto answer = question(static_cast<SpellingEngine&>(shared_));
    spentShared_ += std::chrono::steady_clock::now() - asked;
    if (!own_ && spentShared_ >= worthOwn_)
        own_ = std::make_unique<DeferredSpellingEngine>(std::move(make_));
    return answer;
}

void OwnSpellingEngine::SetMainLexPath(const QString& folder)
{
    ask([&](SpellingEngine& engine) { return (engine.SetMainLexPath(folder), 0); });
}

void OwnSpellingEngine::SetUserLexPath(const QString& folder)
{
    ask([&](SpellingEngine& engine) { return (engine.SetUserLexPath(folder), 0); });
}

void OwnSpellingEngine::SetUserLexFiles(const QString& names)
{
    ask([&](SpellingEngine& engine) { return (engine.SetUserLexFiles(names), 0); });
}

void OwnSpellingEngine::SetOption(std::uint32_t option, std::int32_t value)
{
    ask([&](SpellingEngine& engine) { return (engine.SetOption(option, value), 0); });
}

int OwnSpellingEngine::CheckString(const QString& text)
{
    return ask([&](SpellingEngine& engine) { return engine.CheckString(text); });
}

QStringList OwnSpellingEngine::Suggest(const QString& text, int depth, int maxCount)
{
    return ask([&](SpellingEngine& engine) { return engine.Suggest(text, depth, maxCount); });
}
