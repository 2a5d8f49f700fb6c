#include "spelling/HunspellEngine.h"

#include "support/TempDir.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

constexpr int kClean = SpellingEngine::kNoMisspelling;

// A dictionary of a few words, written by the test so that no answer depends
// on the dictionaries the system has.
void writeDictionary(const TempDir& dir, const QString& folderAndName, const QByteArray& encoding,
    const QList<QByteArray>& words)
{
    dir.write(folderAndName + ".aff", "SET " + encoding + "\nTRY esianrtolcdugmfphbyvkw\n");
    QByteArray dic = QByteArray::number(words.size()) + "\n";
    for (const QByteArray& word : words)
        dic += word + "\n";
    dir.write(folderAndName + ".dic", dic);
}

class HunspellEngineTest : public ::testing::Test {
protected:
    HunspellEngineTest()
    {
        dir.mkdir("main");
        dir.mkdir("user");
        writeDictionary(
            dir, "main/en", "UTF-8", { "international", "national", "well", "known", "cat", "cap" });
    }
    HunspellEngine& open(const QString& files)
    {
        engine.SetMainLexPath(dir.path() + "main/");
        engine.SetUserLexPath(dir.path() + "user/");
        engine.SetUserLexFiles(files);
        engine.SetOption(0x200000, 1);
        return engine;
    }
    TempDir dir;
    HunspellEngine engine;
};

} // namespace

TEST_F(HunspellEngineTest, ChecksTextsWithTheDictionary)
{
    HunspellEngine& e = open("en.dic");
    struct Row {
        QString text;
        int expected;
    };
    const QList<Row> rows = {
        { "international", kClean }, { "internationl", 1 }, { "", kClean },
        { "well-known", kClean }, // split at the hyphen by Hunspell's own break rules
        { "well-knwn", 1 }, { u"caf\u00e9"_qs, 1 },
        { QString(QChar(0xD800)), 1 }, // a lone surrogate cannot be encoded
    };
    for (const Row& row : rows)
        EXPECT_EQ(e.CheckString(row.text) == kClean, row.expected == kClean) << row.text.toStdString();
    // What the golden runs suggest, and how many, comes from the installed
    // dictionary; a text the dictionary cannot hold has no suggestions.
    EXPECT_TRUE(e.Suggest(QString(QChar(0xD800)), 35, 2).isEmpty());
}

TEST_F(HunspellEngineTest, AddsWordListsAndFurtherDictionaries)
{
    dir.write("main/project.txt", "Quorvane\n  hydrotest  \n\nt\xC3\xA9l\xC3\xA9metry\n");
    writeDictionary(dir, "main/extra", "UTF-8", { "bentonite" });
    // A ".dic" without its ".aff" is a word list like any other file.
    dir.write("main/names.dic", "Okafor\n");
    HunspellEngine& e = open("project.txt, en.dic, extra.dic,names.dic,");
    for (const QString& word : QStringList {
             "international", "Quorvane", "hydrotest", u"t\u00e9l\u00e9metry"_qs, "bentonite", "Okafor" })
        EXPECT_EQ(e.CheckString(word), kClean) << word.toStdString();
}

TEST_F(HunspellEngineTest, LooksInTheUserFolderBeforeTheMainFolder)
{
    writeDictionary(dir, "user/en", "UTF-8", { "bentonite" });
    dir.write("user/project.txt", "Quorvane\n");
    dir.write("main/project.txt", "Okafor\n");
    HunspellEngine& e = open("en.dic,project.txt");
    EXPECT_EQ(e.CheckString("bentonite"), kClean);
    EXPECT_NE(e.CheckString("international"), kClean);
    EXPECT_EQ(e.CheckString("Quorvane"), kClean);
    EXPECT_NE(e.CheckString("Okafor"), kClean);
    EXPECT_EQ(e.LexiconFilePath("en.dic"), dir.path() + "user/en.dic");
    EXPECT_EQ(e.LexiconFilePath("other.txt"), dir.path() + "main/other.txt");
}

TEST_F(HunspellEngineTest, SpeaksTheDictionarysOwnEncoding)
{
    writeDictionary(dir, "main/fr", "ISO8859-1", { "caf\xE9", "na\xEFve" });
    dir.write("main/words.txt", "d\xC3\xA9j\xC3\xA0\n"); // a UTF-8 word list for a Latin-1 dictionary
    HunspellEngine& e = open("fr.dic,words.txt");
    EXPECT_EQ(e.CheckString(u"caf\u00e9"_qs), kClean);
    EXPECT_EQ(e.CheckString(u"d\u00e9j\u00e0"_qs), kClean);
    EXPECT_EQ(e.Suggest("cafe", 35, 2), QStringList { u"caf\u00e9"_qs });
    // Not representable in Latin-1: misspelt, and nothing to suggest.
    EXPECT_NE(e.CheckString(u"caf\u00e9\u65e5"_qs), kClean);
    EXPECT_TRUE(e.Suggest(u"caf\u00e9\u65e5"_qs, 35, 2).isEmpty());
}

TEST_F(HunspellEngineTest, OtherEncodingsGoThroughIconv)
{
    writeDictionary(dir, "main/pl", "ISO8859-2",
        { "\xB3\xF3"
          "d\xBC" });
    HunspellEngine& e = open("pl.dic");
    EXPECT_EQ(e.CheckString(u"\u0142\u00f3d\u017a"_qs), kClean);
    EXPECT_EQ(e.Suggest(u"\u0142\u00f3dz"_qs, 35, 2).value(0), u"\u0142\u00f3d\u017a"_qs);
    EXPECT_NE(e.CheckString(u"\u0142\u65e5"_qs), kClean);
}

TEST_F(HunspellEngineTest, WithoutADictionaryOnlyWordListWordsAreKnown)
{
    dir.write("main/project.txt", "Quorvane\n");
    HunspellEngine& e = open("project.txt, missing.dic");
    EXPECT_EQ(e.CheckString("Quorvane"), kClean);
    EXPECT_NE(e.CheckString("international"), kClean);
    EXPECT_EQ(e.CheckString(""), kClean);
    EXPECT_TRUE(e.Suggest("Quorvan", 35, 2).isEmpty());
}

// Hunspell cuts a suggestion short by processor time. Other threads of the
// process working meanwhile must not cut it shorter: the answers of a batch
// would depend on its job count. The words take the installed en_US
// dictionary some 40 to 70 ms each, well inside its limits when nothing else
// runs; in a process with seven more threads busy eight times as much
// processor time passes meanwhile, past the limits.
TEST(HunspellEngine, SuggestsAlikeWhileOtherThreadsWork)
{
    HunspellEngine engine;
    engine.SetMainLexPath("/usr/share/hunspell/");
    engine.SetUserLexPath("/usr/share/hunspell/");
    engine.SetUserLexFiles("en_US.dic");
    const QStringList words = { "early-harbour", "carnlunvic-moisture" };
    QStringList quiet;
    for (const QString& word : words)
        quiet << engine.Suggest(word, 35, 2).join(",");
    ASSERT_EQ(quiet.value(0), "early-harbor,early-Barbour");
    std::atomic<bool> stop = false;
    std::vector<std::thread> busy;
    for (int i = 0; i < 7; ++i)
        busy.emplace_back([&] {
            for (volatile unsigned spins = 0; !stop; spins = spins + 1) { }
        });
    QStringList meanwhile;
    for (const QString& word : words)
        meanwhile << engine.Suggest(word, 35, 2).join(",");
    stop = true;
    for (std::thread& thread : busy)
        thread.join();
    EXPECT_EQ(meanwhile, quiet);
}
