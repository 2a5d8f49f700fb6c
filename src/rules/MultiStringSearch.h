#pragma once

#include <QList>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <functional>
#include <vector>

// Finds many literal strings in one pass over a text (an Aho-Corasick
// automaton over UTF-16 code units), so that a table of search strings costs
// one scan of the text however many rows it has. Letter case is respected.
class MultiStringSearch {
public:
    explicit MultiStringSearch(const QList<QString>& needles);

    // Calls found(needle index, start) for every occurrence of every needle,
    // overlapping ones included, in the order their last characters come;
    // stops early when found returns false. Empty needles never match.
    void scan(QStringView text, const std::function<bool(int needle, qsizetype start)>& found) const;

    // The first occurrence of every needle (its start), -1 where none.
    std::vector<qsizetype> firstOccurrences(QStringView text) const;

    // Every occurrence of every needle, by needle, starts ascending.
    std::vector<std::vector<qsizetype>> allOccurrences(QStringView text) const;

private:
    int classOf(char16_t c) const { return static_cast<int>(classes_[c]); }
    int next(int state, int charClass) const { return delta_[std::size_t(state) * classCount_ + charClass]; }

    std::vector<qsizetype> lengths_;
    std::vector<std::uint32_t> classes_; // per code unit: 0 for units no needle holds
    int classCount_ = 1;
    std::vector<int> delta_; // state x class -> state
    std::vector<std::vector<int>> outputs_; // per state: needles that end here, suffixes included
};
