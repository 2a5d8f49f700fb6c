#include "rules/MultiStringSearch.h"

#include <deque>

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
