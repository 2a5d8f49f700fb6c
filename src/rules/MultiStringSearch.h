#pragma once

#include <QList>
#include <QString>
#include <QStringView>
#include <array>
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

    // The same searches over a text that is never put together: `pieces`
    // calls its argument with each piece in turn, and the pieces are read as
    // one text, occurrences across their joins included.
    template <class Pieces> std::vector<qsizetype> firstOccurrencesIn(Pieces&& pieces) const
    {
        std::vector<qsizetype> first(lengths_.size(), -1);
        std::size_t missing = 0;
        for (const qsizetype length : lengths_)
            missing += length > 0 ? 1 : 0;
        scanPieces(pieces, [&](int needle, qsizetype start) {
            if (first[needle] < 0) {
                first[needle] = start;
                --missing;
            }
            return missing > 0;
        });
        return first;
    }
    template <class Pieces> std::vector<std::vector<qsizetype>> allOccurrencesIn(Pieces&& pieces) const
    {
        std::vector<std::vector<qsizetype>> all(lengths_.size());
        scanPieces(pieces, [&](int needle, qsizetype start) {
            all[needle].push_back(start);
            return true;
        });
        return all;
    }

private:
    // Needles have fixed lengths, so the first to end is also the first to
    // start: found(needle, start) may stop the scan by returning false.
    template <class Pieces, class Found> void scanPieces(Pieces& pieces, Found&& found) const
    {
        int state = 0;
        qsizetype offset = 0;
        bool going = true;
        pieces([&](QStringView piece) {
            // The walk keeps its state and tables in locals: the pieces'
            // caller holds them by reference, and they would otherwise be
            // read from memory at every unit.
            const char16_t* units = piece.utf16();
            const qsizetype size = piece.size();
            const std::uint32_t* classes = classes_.data();
            const std::uint8_t* leavesStart = leavesStart_.data();
            const int* delta = delta_.data();
            const std::uint32_t* outputFrom = outputFrom_.data();
            const std::size_t classCount = std::size_t(classCount_);
            int current = state;
            for (qsizetype i = 0; going && i < size; ++i) {
                // In the start state a unit that begins no needle leads
                // back to it and ends nothing: most of a text is passed
                // over here.
                if (current == 0) {
                    i = nextCandidate(units, i, size);
                    for (;;) {
                        while (i < size && !leavesStart[units[i]])
                            ++i;
                        if (i + 1 >= size)
                            break;
                        // A unit that starts a needle and ends none, followed
                        // by one that leads back to the start state, ends
                        // nothing either: a blank before a word, when a needle
                        // starts with a blank, is passed over so.
                        const int first = delta[classes[units[i]]];
                        if (outputFrom[first] != outputFrom[first + 1]
                            || delta[std::size_t(first) * classCount + classes[units[i + 1]]] != 0)
                            break;
                        i += 2;
                    }
                    if (i == size)
                        break;
                }
                current = delta[std::size_t(current) * classCount + classes[units[i]]];
                for (std::uint32_t k = outputFrom[current]; k != outputFrom[current + 1]; ++k) {
                    const int needle = outputNeedles_[k];
                    if (!found(needle, offset + i + 1 - lengths_[needle])) {
                        going = false;
                        break;
                    }
                }
            }
            state = current;
            offset += piece.size();
            return going;
        });
    }

    // From `at` on, the first place where the start state might move on for
    // good: a unit that begins a needle, unless the unit after it leads back
    // to the start state and the unit ends nothing. Eight places are looked at
    // together; the last few of a piece, and tables whose needles begin with
    // many different units, are left to the walk, which tests the same.
    qsizetype nextCandidate(const char16_t* units, qsizetype at, qsizetype size) const;

    int classOf(char16_t c) const { return static_cast<int>(classes_[c]); }
    int next(int state, int charClass) const { return delta_[std::size_t(state) * classCount_ + charClass]; }

    std::vector<qsizetype> lengths_;
    std::vector<std::uint32_t> classes_; // per code unit: 0 for units no needle holds
    int classCount_ = 1;
    std::vector<int> delta_; // state x class -> state
    std::vector<std::uint8_t> leavesStart_; // per code unit: 1 where the start state moves on
    // Per state, the needles that end there, suffixes included, laid end to
    // end: state s owns outputNeedles_[outputFrom_[s]] up to outputFrom_[s + 1].
    std::vector<std::uint32_t> outputFrom_;
    std::vector<int> outputNeedles_;
    // For nextCandidate: each unit that begins a needle. After one, any
    // unit that begins a needle keeps the walk going, and so do the units
    // listed here; a unit that ends a needle itself always counts. Empty when
    // the needles begin with too many units, or a unit is followed by too
    // many others, to look at together.
    // Each unit is kept eight times over, as the eight places are compared.
    using Spread = std::array<char16_t, 8>;
    struct Lead {
        Spread unit {};
        bool always = false;
        std::vector<Spread> followers; // besides the units that begin needles
    };
    std::vector<Lead> leads_;
};
