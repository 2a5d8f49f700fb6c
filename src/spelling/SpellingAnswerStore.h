#pragma once

#include "core/SpellingEngine.h"

#include <QFile>
#include <QHash>
#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>

// How far a folder of kept answers may grow; see SpellingAnswerStore.
struct SpellingCacheBounds {
    qint64 longestFile = 32 * 1024 * 1024;
    std::chrono::hours unusedFor = std::chrono::hours(24 * 60);
};

// The engine's answers, shared by every thread of the run and, given a
// folder, kept from run to run: a dictionary takes 50 to 150 ms to suggest
// for a word it does not know, and batches meet the same words run after run.
//
// The answers of one lexicon live in one file of the folder, named after the
// lexicon's identity (LexiconIdentity), whose first record holds the
// identity in full. Records are appended, each one line with a checksum of
// its own, so a run that is killed loses at most its last unwritten answers:
// a last line cut short is dropped without a word. A file that does not begin
// with this lexicon's identity or holds a record that does not match its
// checksum is not trusted at all: `warn` hears one line and the file is
// started anew.
//
// The folder does not grow without end. A file grown past `longestFile` keeps
// its newest answers, up to half that size (every run reads the whole file
// before its first question), and `warn` hears one line. A file is marked
// used whenever a run opens it; the answer files of other lexicons (an older
// dictionary, a word list no longer named) that no run has opened for
// `unusedFor` are removed. Nothing in the folder but answer files is touched.
class SpellingAnswerStore {
public:
    using Warn = std::function<void(const QString& line)>;

    // Answers kept for the run only.
    SpellingAnswerStore();
    // Answers kept in `folder` (created when missing); without a usable
    // folder, for the run only, after one line to `warn`.
    SpellingAnswerStore(
        const QString& folder, const QString& identity, Warn warn, SpellingCacheBounds bounds = {});
    ~SpellingAnswerStore();
    SpellingAnswerStore(const SpellingAnswerStore&) = delete;
    SpellingAnswerStore& operator=(const SpellingAnswerStore&) = delete;

    std::optional<int> check(const QString& text);
    void keepCheck(const QString& text, int answer);
    std::optional<QStringList> suggestions(const QString& text, int depth, int maxCount);
    void keepSuggestions(const QString& text, int depth, int maxCount, const QStringList& suggestions);
    // The suggestions kept for the text; else, when another thread is asking
    // for them now, those, once it has them; else what `ask` answers, kept.
    // Workers of one batch meet the same words at about the same time, and
    // each suggestion takes the engine 50 to 150 ms: it is asked for once.
    QStringList suggestionsOr(
        const QString& text, int depth, int maxCount, const std::function<QStringList()>& ask);

    // Writes the answers not yet in the file.
    void flush();
    // The file the answers are kept in; empty for the run only.
    QString filePath() const;
    // How many answers came from the file.
    qsizetype loadedCount() const;

private:
    void load(const QString& identity);
    void removeUnusedFiles(const QString& folder);
    void startFile(const QString& identity, const QList<QByteArray>& records);
    void append(QByteArray record, bool now);
    void writePending();
    void stopKeeping(const QString& why);

    std::mutex lock_;
    QHash<QString, int> checks_;
    QHash<QString, QStringList> suggestions_; // by depth, count and text
    QHash<QString, std::shared_future<QStringList>> asking_; // suggestions being asked for now
    QString path_;
    Warn warn_;
    SpellingCacheBounds bounds_;
    std::unique_ptr<QFile> file_;
    QByteArray pending_;
    qsizetype loaded_ = 0;
};

// The engine below, asked only what the store does not know; what it answers
// goes into the store.
class CachingSpellingEngine final : public SpellingEngine {
public:
    CachingSpellingEngine(std::shared_ptr<SpellingAnswerStore> store, std::unique_ptr<SpellingEngine> engine);

    void SetMainLexPath(const QString& folder) override;
    void SetUserLexPath(const QString& folder) override;
    void SetUserLexFiles(const QString& names) override;
    void SetOption(std::uint32_t option, std::int32_t value) override;
    int CheckString(const QString& text) override;
    QStringList Suggest(const QString& text, int depth, int maxCount) override;

    SpellingEngine& engine() { return *engine_; }
    const std::shared_ptr<SpellingAnswerStore>& store() const { return store_; }

private:
    std::shared_ptr<SpellingAnswerStore> store_;
    std::unique_ptr<SpellingEngine> engine_;
};

// What the engine's answers depend on: the path, size and modification time
// of the Hunspell library and of every lexicon file the settings name, as the
// engine finds them (with the ".aff" beside a ".dic").
QString LexiconIdentity(const QString& mainLexPath, const QString& userLexPath, const QString& names);

// The folder answers are kept in when the user names none: QUORVANE_CACHE_DIR
// when set, else "quorvane" in the user's cache folder ($XDG_CACHE_HOME,
// ~/.cache by default).
QString DefaultSpellingCacheFolder();
