#pragma once

#include "core/SpellingEngine.h"

#include <functional>
#include <future>
#include <memory>

// A spelling engine made on a thread of its own while the run goes on:
// loading a dictionary takes longer than reading the configuration, the
// tables and a batch's file list together, and none of those needs it. The
// first question waits for the engine, from whichever thread asks it.
class DeferredSpellingEngine final : public SpellingEngine {
public:
    using Factory = std::function<std::unique_ptr<SpellingEngine>()>;

    // Now: made at once, on a thread of its own. OnFirstQuestion: made by the
    // first question, for a run that may well ask none.
    enum class Start { Now, OnFirstQuestion };

    explicit DeferredSpellingEngine(Factory make, Start start = Start::Now);
    ~DeferredSpellingEngine() override;

    void SetMainLexPath(const QString& folder) override;
    void SetUserLexPath(const QString& folder) override;
    void SetUserLexFiles(const QString& names) override;
    void SetOption(std::uint32_t option, std::int32_t value) override;
    int CheckString(const QString& text) override;
    QStringList Suggest(const QString& text, int depth, int maxCount) override;

    // Whether the engine is made, without waiting for it.
    bool ready() const;

    // Keeps the engine from being freed with this object, for a process about
    // to end: a dictionary's many small allocations take longer to free than
    // a small batch takes to validate, and the system takes them back anyway.
    void leakAtExit();

private:
    SpellingEngine& engine();

    std::shared_future<std::shared_ptr<SpellingEngine>> engine_;
    bool leak_ = false;
};
