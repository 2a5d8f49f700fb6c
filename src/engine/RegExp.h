#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>

// A pattern that cannot be compiled, or a search that gave up at one of the
// engine's limits. The description always names the pattern.
class PatternError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// One match of a search: positions are zero-based code-unit offsets.
struct RegExpMatch {
    qsizetype index = 0;
    qsizetype length = 0;
    QString value;
    QStringList submatches; // group 1 first; a group that took no part is a null (empty) string
};

struct CompiledPattern;

// The scripting-style regular expression the tables are written for: pattern,
// global and ignore-case, with test, execute and replace. Patterns use the
// JavaScript dialect (\d \w \s \b are ASCII classes, "." stops at line ends,
// "$" only matches at the very end) and are searched on UTF-16 code units.
// Compiling happens on first use; compiled patterns are shared through a
// small per-thread cache, so a fresh object per call is cheap.
class RegExp {
public:
    RegExp() = default;
    explicit RegExp(QString pattern, bool global = false, bool ignoreCase = false);
    RegExp(const RegExp& other);
    RegExp& operator=(const RegExp& other);

    const QString& pattern() const { return pattern_; }
    void setPattern(QString pattern);
    bool global() const { return global_; }
    void setGlobal(bool global) { global_ = global; }
    bool ignoreCase() const { return ignoreCase_; }
    void setIgnoreCase(bool ignoreCase);

    // Whether the pattern occurs anywhere in the text (global plays no part).
    bool test(QStringView text) const;
    // How many matches a global search finds, whatever the global switch says.
    qsizetype countMatches(QStringView text) const;
    // The first match, or every match left to right when global is on.
    QList<RegExpMatch> execute(QStringView text) const;
    // Replaces the first match (every match when global is on). The
    // replacement may hold "$1".."$99", "$&", "$`", "$'" and "$$".
    QString replace(QStringView text, QStringView replacement) const;
    // Number of capturing groups of the pattern.
    int captureCount() const;
    // The time a whole search of a text may take before it fails, on top of
    // one second per million code units of the text. Tests shorten it.
    void setSearchBudgetMs(qint64 milliseconds) { searchBudgetMs_ = milliseconds; }

    // Every match in text order, handed over as it is found, so a search with
    // millions of matches never holds them all.
    void visitMatches(QStringView text, const std::function<void(const RegExpMatch&)>& visit) const;

private:
    template <typename Visitor> void forEachMatch(QStringView text, bool all, Visitor&& visit) const;
    const CompiledPattern& compiled() const;
    void forget(); // drops the compiled form after a change of pattern or case

    QString pattern_;
    qint64 searchBudgetMs_ = 10'000;
    bool global_ = false;
    bool ignoreCase_ = false;
    // Set once, on the first search; expressions in shared tables are
    // searched from several threads, which read ready_ alone.
    mutable std::shared_ptr<const CompiledPattern> compiled_;
    mutable std::atomic<const CompiledPattern*> ready_ { nullptr };
};
