#include "spelling/WorkerSpellingEngines.h"

#include "support/FakeSpellingEngine.h"

#include <gtest/gtest.h>
#include <thread>

using namespace std::chrono_literals;

TEST(OwnSpellingEngine, AsksTheRunsEngineUntilThatHasCostALoadThenOnlyItsOwn)
{
    for (const auto worthOwn :
        { std::chrono::steady_clock::duration(0), std::chrono::steady_clock::duration(1h) }) {
        SCOPED_TRACE(worthOwn.count());
        FakeSpellingEngine shared({ "word" });
        std::mutex lock;
        std::atomic<FakeSpellingEngine*> own = nullptr;
        OwnSpellingEngine engine(
            [&]() -> std::unique_ptr<SpellingEngine> {
                auto made = std::make_unique<FakeSpellingEngine>(QSet<QString> { "word" });
                own = made.get();
                return made;
            },
            shared, lock, worthOwn);
        // The answers are the same whoever gives them.
        const int rounds = worthOwn > 1min ? 20 : 2000;
        for (int i = 0; i < rounds && !(own && !own.load()->checked.isEmpty()); ++i) {
            EXPECT_EQ(engine.CheckString("word"), SpellingEngine::kNoMisspelling);
            EXPECT_NE(engine.CheckString("wrod"), SpellingEngine::kNoMisspelling);
            std::this_thread::sleep_for(1ms);
        }
        ASSERT_FALSE(shared.checked.isEmpty());
        if (worthOwn > 1min) {
            EXPECT_EQ(own.load(), nullptr); // a thread that asks little loads nothing
            continue;
        }
        ASSERT_NE(own.load(), nullptr);
        const qsizetype sharedAsked = shared.checked.size();
        engine.Suggest("wrod", 35, 2);
        EXPECT_EQ(shared.checked.size(), sharedAsked); // once its own is ready, the run's waits for nobody
        EXPECT_TRUE(shared.suggested.isEmpty());
        EXPECT_EQ(own.load()->suggested, QStringList { "wrod" });
    }
}
