#include "rules/MultiStringSearch.h"

#include <deque>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

MultiStringSearch::MultiStringSearch(const QList<QString>& needles)
    : classes_(0x10000, 0)
{
    for (const QString& needle : needles) {
        lengths_.push_back(needle.size());
        for (const QChar c : needle) {
            if (classes_[c.unicode()] == 0)
                classes_[c.unicode()] = static_cast<std::uint32_t>(classCount_++);
        }
    }
    // The trie, with -1 for a missing edge.
    std::vector<int> trie(classCount_, -1);
    std::vector<std::vector<int>> outputs(1); // per state: needles that end here, suffixes included
    for (int n = 0; n < needles.size(); ++n) {
        if (needles[n].isEmpty())
            continue;
        int state = 0;
        for (const QChar c : needles[n]) {
            int& edge = trie[std::size_t(state) * classCount_ + classOf(c.unicode())];
            if (edge < 0) {
                edge = static_cast<int>(outputs.size());
                outputs.emplace_back();
                trie.resize(trie.size() + classCount_, -1);
            }
            state = trie[std::size_t(state) * classCount_ + classOf(c.unicode())];
        }
        outputs[state].push_back(n);
    }
    // Breadth first, each state's missing edges follow its failure state's.
    delta_.assign(trie.size(), 0);
    std::vector<int> failure(outputs.size(), 0);
    std::deque<int> queue;
    for (int c = 0; c < classCount_; ++c) {
        const int child = trie[c];
        delta_[c] = child < 0 ? 0 : child;
        if (child > 0)
            queue.push_back(child);
    }
    while (!queue.empty()) {
        const int state = queue.front();
        queue.pop_front();
        const std::vector<int>& inherited = outputs[failure[state]];
        outputs[state].insert(outputs[state].end(), inherited.begin(), inherited.end());
        for (int c = 0; c < classCount_; ++c) {
            const int child = trie[std::size_t(state) * classCount_ + c];
            const int fallback = delta_[std::size_t(failure[state]) * classCount_ + c];
            if (child < 0) {
                delta_[std::size_t(state) * classCount_ + c] = fallback;
                continue;
            }
            delta_[std::size_t(state) * classCount_ + c] = child;
            failure[child] = fallback;
            queue.push_back(child);
        }
    }
    leavesStart_.assign(0x10000, 0);
    for (std::size_t unit = 0; unit < classes_.size(); ++unit)
        leavesStart_[unit] = classes_[unit] != 0 && delta_[classes_[unit]] != 0 ? 1 : 0;
    for (const std::vector<int>& needles : outputs) {
        outputFrom_.push_back(static_cast<std::uint32_t>(outputNeedles_.size()));
        outputNeedles_.insert(outputNeedles_.end(), needles.begin(), needles.end());
    }
    outputFrom_.push_back(static_cast<std::uint32_t>(outputNeedles_.size()));

    // Looked at together, a few leads with a few followers each cost less
    // than a walk that stops at every blank of a text.
    constexpr std::size_t kMostLeads = 8;
    constexpr std::size_t kMostFollowers = 4;
    for (std::size_t unit = 0; unit < classes_.size(); ++unit) {
        if (!leavesStart_[unit])
            continue;
        Lead lead;
        lead.unit.fill(char16_t(unit));
        const int first = delta_[classes_[unit]];
        lead.always = outputFrom_[first] != outputFrom_[first + 1];
        for (std::size_t next = 0; next < classes_.size() && !lead.always; ++next) {
            if (classes_[next] != 0 && !leavesStart_[next]
                && delta_[std::size_t(first) * classCount_ + classes_[next]] != 0)
                lead.followers.emplace_back().fill(char16_t(next));
        }
        if (leads_.size() == kMostLeads || lead.followers.size() > kMostFollowers) {
            leads_.clear();
            break;
        }
        leads_.push_back(std::move(lead));
    }
}

qsizetype MultiStringSearch::nextCandidate(const char16_t* units, qsizetype at, qsizetype size) const
{
#if defined(__SSE2__)
    if (leads_.empty())
        return at;
    for (; at + 9 <= size; at += 8) {
        const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + at));
        const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + at + 1));
        // A unit that begins a needle, followed by another such unit, always
        // keeps the walk going: that needle at least begins there.
        __m128i leadHere = _mm_setzero_si128();
        __m128i leadNext = _mm_setzero_si128();
        __m128i special = _mm_setzero_si128();
        for (const Lead& lead : leads_) {
            const __m128i unit = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lead.unit.data()));
            const __m128i found = _mm_cmpeq_epi16(here, unit);
            leadHere = _mm_or_si128(leadHere, found);
            leadNext = _mm_or_si128(leadNext, _mm_cmpeq_epi16(next, unit));
            if (lead.always) {
                special = _mm_or_si128(special, found);
                continue;
            }
            __m128i follows = _mm_setzero_si128();
            for (const Spread& follower : lead.followers)
                follows = _mm_or_si128(follows,
                    _mm_cmpeq_epi16(
                        next, _mm_loadu_si128(reinterpret_cast<const __m128i*>(follower.data()))));
            special = _mm_or_si128(special, _mm_and_si128(found, follows));
        }
        const __m128i any = _mm_or_si128(_mm_and_si128(leadHere, leadNext), special);
        if (const int mask = _mm_movemask_epi8(any))
            return at + qsizetype(__builtin_ctz(unsigned(mask)) / 2);
    }
#else
    (void)units;
    (void)size;
#endif
    return at;
}

void MultiStringSearch::scan(
    QStringView text, const std::function<bool(int needle, qsizetype start)>& found) const
{
    int state = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        state = next(state, classOf(text[i].unicode()));
        for (std::uint32_t k = outputFrom_[state]; k != outputFrom_[state + 1]; ++k) {
            if (!found(outputNeedles_[k], i + 1 - lengths_[outputNeedles_[k]]))
                return;
        }
    }
}

std::vector<qsizetype> MultiStringSearch::firstOccurrences(QStringView text) const
{
    return firstOccurrencesIn([text](auto&& piece) { piece(text); });
}

std::vector<std::vector<qsizetype>> MultiStringSearch::allOccurrences(QStringView text) const
{
    return allOccurrencesIn([text](auto&& piece) { piece(text); });
}
