#include "spelling/DeferredSpellingEngine.h"

#include "support/FakeSpellingEngine.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <latch>
#include <thread>
#include <vector>

namespace {

// Knows one word and records nothing, so several threads may ask it at once
// (the shared fake records every question, which only one thread may do).
class OneWordEngine final : public FakeSpellingEngine {
public:
    OneWordEngine()
        : FakeSpellingEngine({ "word" }, { { "wrod", { "word", "ward" } } })
    {
    }
    int CheckString(const QString& text) override { return text == u"word" ? kNoMisspelling : 0; }
};

// The engine is made while the caller goes on, is made once, and answers
// the questions of every thread that asks, all of them waiting for it.
TEST(DeferredSpellingEngine, LoadsWhileTheRunGoesOnAndAnswersEveryThread)
{
    std::latch released(1);
    std::atomic<int> made = 0;
    DeferredSpellingEngine engine([&] {
        released.wait();
        ++made;
        return std::make_unique<OneWordEngine>();
    });
    // Still loading: the constructor did not wait for the factory.
    EXPECT_EQ(made.load(), 0);

    std::vector<std::thread> askers;
    std::atomic<int> misspelt = 0;
    for (int i = 0; i < 4; ++i) {
        askers.emplace_back([&] {
            if (engine.CheckString("word") != SpellingEngine::kNoMisspelling)
                ++misspelt;
            if (engine.CheckString("wrod") != SpellingEngine::kNoMisspelling)
                ++misspelt;
        });
    }
    released.count_down();
    for (std::thread& asker : askers)
        asker.join();
    EXPECT_EQ(made.load(), 1);
    EXPECT_EQ(misspelt.load(), 4);
    EXPECT_EQ(engine.Suggest("wrod", 1, 1), QStringList { "word" });
}

// A run refused before its first question must not end while the engine is
// still being made into memory it no longer owns.
TEST(DeferredSpellingEngine, EndingBeforeTheFirstQuestionWaitsForTheLoad)
{
    std::atomic<bool> finished = false;
    {
        DeferredSpellingEngine engine([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            finished = true;
            return std::make_unique<FakeSpellingEngine>(QSet<QString> {});
        });
    }
    EXPECT_TRUE(finished.load());
}

} // namespace
