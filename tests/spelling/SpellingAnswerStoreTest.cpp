#include "spelling/SpellingAnswerStore.h"

#include "support/FakeSpellingEngine.h"
#include "support/TempDir.h"

#include <QFile>
#include <gtest/gtest.h>
#include <thread>

namespace {

const QString kIdentity = QStringLiteral("/lex/en_US.dic|100|5\n");
const QStringList kWords = { "known", "unknwn", "tab\there", QString::fromUtf8("caf\xC3\xA9-latte"), "" };

struct Asked {
    QStringList checked;
    QStringList suggested;
    QStringList answers;
    QStringList warnings;
};

// One run: a store over the folder and a counting engine below it, asked
// every word twice over.
Asked runOver(const QString& folder, const QString& identity = kIdentity, const QStringList& words = kWords,
    SpellingCacheBounds bounds = {})
{
    Asked asked;
    auto engine = std::make_unique<FakeSpellingEngine>(
        QSet<QString> { "known" }, QHash<QString, QStringList> { { "unknwn", { "unknown", "un known" } } });
    FakeSpellingEngine& counting = *engine;
    {
        auto store = std::make_shared<SpellingAnswerStore>(
            folder, identity, [&](const QString& line) { asked.warnings << line; }, bounds);
        CachingSpellingEngine caching(store, std::move(engine));
        for (int round = 0; round < 2; ++round) {
            for (const QString& word : words)
                asked.answers << QString::number(caching.CheckString(word)) + "|"
                        + caching.Suggest(word, 35, 2).join(",");
        }
        asked.checked = counting.checked;
        asked.suggested = counting.suggested;
    }
    return asked;
}

void age(const QString& path, int days)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.setFileTime(QDateTime::currentDateTimeUtc().addDays(-days), QFileDevice::FileModificationTime);
}

// The answer files of the folder, by name.
QStringList answerFilesIn(const QString& folder)
{
    QStringList files;
    for (const QFileInfo& file : QDir(folder).entryInfoList({ QString(24, u'?') + ".answers" }, QDir::Files))
        files << file.filePath();
    return files;
}

QString onlyFileIn(const QString& folder)
{
    const QStringList files = QDir(folder).entryList(QDir::Files);
    return files.size() == 1 ? folder + files[0] : QString();
}

} // namespace

TEST(SpellingAnswerStore, ASecondRunAsksTheEngineNothingAndAnswersAlike)
{
    TempDir dir;
    const Asked first = runOver(dir.path());
    EXPECT_EQ(first.checked.size(), kWords.size()); // once each, the second round from memory
    EXPECT_EQ(first.suggested.size(), kWords.size());
    const Asked second = runOver(dir.path());
    EXPECT_TRUE(second.checked.isEmpty()) << second.checked.join(",").toStdString();
    EXPECT_TRUE(second.suggested.isEmpty());
    EXPECT_EQ(second.answers, first.answers);
    EXPECT_TRUE(first.warnings.isEmpty() && second.warnings.isEmpty());
    // Other lexicon files have answers of their own.
    EXPECT_EQ(runOver(dir.path(), kIdentity + "/lex/project.txt|3|9\n").checked.size(), kWords.size());
}

TEST(SpellingAnswerStore, AnswersAreKeptPerHunspellLibraryFileToo)
{
    // The first line describes the library as the lexicon files are described.
    const QString library = LexiconIdentity("/nowhere/", "/nowhere/", "en_US.dic").section('\n', 0, 0);
    const QFileInfo file(library.section('|', 0, 0));
    EXPECT_TRUE(file.fileName().startsWith("libhunspell")) << library.toStdString();
    EXPECT_EQ(library.section('|', 1, 1), QString::number(file.size()));
}

TEST(SpellingAnswerStore, AKilledRunKeepsItsWholeRecordsAndNothingDamagedIsTrusted)
{
    struct Row {
        const char* what;
        std::function<void(QByteArray&)> damage;
        int warnings; // from the damaged file
        bool keepsAnswers;
    };
    const Row rows[] = {
        { "last record cut short", [](QByteArray& b) { b.chop(5); }, 0, true },
        { "a record altered", [](QByteArray& b) { b[b.indexOf("\nC") + 20] ^= 1; }, 1, false },
        { "a record without its checksum", [](QByteArray& b) { b.insert(b.indexOf("\nS") + 1, "S\tx\n"); }, 1,
            false },
        { "another lexicon's file", [](QByteArray& b) { b.replace("5", "6"); }, 1, false },
        { "not a cache at all", [](QByteArray& b) { b = "PNG\r\n\x1a\n"; }, 1, false },
        { "no line at all", [](QByteArray& b) { b = "garbage"; }, 1, false },
        { "empty", [](QByteArray& b) { b.clear(); }, 1, false },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        TempDir dir;
        const Asked first = runOver(dir.path());
        const QString path = onlyFileIn(dir.path());
        QByteArray bytes = TempDir::read(path);
        row.damage(bytes);
        dir.write(QFileInfo(path).fileName(), bytes);

        const Asked second = runOver(dir.path());
        EXPECT_EQ(second.warnings.size(), row.warnings) << second.warnings.join("\n").toStdString();
        EXPECT_EQ(second.answers, first.answers);
        if (row.keepsAnswers)
            EXPECT_LT(second.checked.size() + second.suggested.size(), 3);
        else
            EXPECT_EQ(second.checked, first.checked);
        // Whatever the damage, the file is whole again for the next run.
        const Asked third = runOver(dir.path());
        EXPECT_TRUE(third.warnings.isEmpty()) << third.warnings.join("\n").toStdString();
        EXPECT_TRUE(third.checked.isEmpty() && third.suggested.isEmpty());
    }
}

TEST(SpellingAnswerStore, AFileGrownPastItsBoundKeepsItsNewestAnswers)
{
    TempDir dir;
    QStringList words;
    for (int i = 0; i < 100; ++i)
        words << QStringLiteral("word%1").arg(i);
    runOver(dir.path(), kIdentity, words);
    const qint64 full = QFileInfo(onlyFileIn(dir.path())).size();
    // The run that finds the file too long still answers from all of it.
    const Asked trimming = runOver(dir.path(), kIdentity, words, { full - 1, std::chrono::hours(1) });
    EXPECT_EQ(trimming.warnings.size(), 1);
    EXPECT_TRUE(trimming.checked.isEmpty());
    EXPECT_LE(QFileInfo(onlyFileIn(dir.path())).size(), full / 2 + 100);
    // Only the words first asked longest ago are asked again.
    const QStringList again = runOver(dir.path(), kIdentity, words).checked;
    EXPECT_GE(again.size(), 40);
    EXPECT_LE(again.size(), 60);
    EXPECT_EQ(again, words.mid(0, again.size()));
}

TEST(SpellingAnswerStore, AnswerFilesNoRunOpenedForLongAreRemoved)
{
    TempDir dir;
    runOver(dir.path(), kIdentity + "old\n");
    const QString unused = onlyFileIn(dir.path());
    const QString notOurs = dir.write("notes.answers", "kept");
    runOver(dir.path());
    // The other answer file; two files written within one clock tick have no
    // order by time.
    QString own;
    for (const QString& path : answerFilesIn(dir.path()))
        if (QFileInfo(path).fileName() != QFileInfo(unused).fileName())
            own = path;
    ASSERT_FALSE(own.isEmpty());
    for (const QString& path : { unused, notOurs, own })
        age(path, 61);
    runOver(dir.path(), kIdentity + "recent\n");
    EXPECT_FALSE(QFile::exists(unused));
    EXPECT_TRUE(QFile::exists(notOurs));
    EXPECT_FALSE(QFile::exists(own)); // no run of its lexicon for two months either
    // A run marks its file used, even when it asks nothing new.
    ASSERT_EQ(answerFilesIn(dir.path()).size(), 1);
    const QString recent = answerFilesIn(dir.path())[0];
    age(recent, 61);
    EXPECT_TRUE(runOver(dir.path(), kIdentity + "recent\n").checked.isEmpty());
    EXPECT_GT(QFileInfo(recent).lastModified(), QDateTime::currentDateTime().addDays(-1));
}

TEST(SpellingAnswerStore, AFolderThatCannotBeMadeKeepsAnswersForTheRunOnly)
{
    TempDir dir;
    dir.write("file", "x");
    const Asked asked = runOver(dir.path() + "file/cache");
    EXPECT_EQ(asked.warnings.size(), 1);
    EXPECT_EQ(asked.checked.size(), kWords.size());
    EXPECT_EQ(runOver(dir.path() + "file/cache").checked.size(), kWords.size());
}

TEST(SpellingAnswerStore, ThreadsMeetingOneWordAtOnceAskForItsSuggestionsOnce)
{
    SpellingAnswerStore store;
    std::atomic<int> asked = 0;
    auto slowAsk = [&] {
        ++asked;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        return QStringList { "unknown" };
    };
    QStringList answers[3];
    std::vector<std::thread> threads;
    for (QStringList& answer : answers)
        threads.emplace_back([&] { answer = store.suggestionsOr("unknwn", 35, 2, slowAsk); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(asked, 1);
    for (const QStringList& answer : answers)
        EXPECT_EQ(answer, QStringList { "unknown" });
}
