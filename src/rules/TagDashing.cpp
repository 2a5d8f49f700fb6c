#include "rules/TagDashing.h"

#include <algorithm>

void TagDasher::append(QStringView text)
{
    for (const QChar c : text) {
        if (c == u'>') {
            closeTag();
            continue;
        }
        if (c == u'<')
            lts_.push_back(pending_.size());
        pending_ += c;
    }
}

int TagDasher::earliestTimeAfter(const QString& tagText, int after) const
{
    const auto it = replaced_.constFind(tagText);
    if (it == replaced_.cend())
        return -1;
    const auto time = std::upper_bound(it->begin(), it->end(), after);
    return time == it->end() ? -1 : *time;
}

void TagDasher::closeTag()
{
    if (lts_.empty()) {
        finished_ += pending_;
        finished_ += u'>';
        pending_.clear();
        junctions_.clear();
        return;
    }
    // A tag text replaced earlier removes this ">" when it ended here at
    // that time: every "-" it spans must be older than the replacement. Of
    // several such texts the earliest replacement wins.
    int bestTime = -1;
    qsizetype bestStart = -1;
    const auto consider = [&](qsizetype start) {
        int newestJunction = 0;
        for (auto j = junctions_.rbegin(); j != junctions_.rend() && j->offset >= start; ++j)
            newestJunction = std::max(newestJunction, j->time);
        const int time = earliestTimeAfter(pending_.sliced(start) + u'>', newestJunction);
        if (time >= 0 && (bestTime < 0 || time < bestTime)) {
            bestTime = time;
            bestStart = start;
        }
    };
    // Only starts at a "<" within the longest replaced text can match; look
    // at whichever is fewer, the "<" or the known lengths.
    if (lts_.size() <= lengths_.size()) {
        for (auto lt = lts_.rbegin(); lt != lts_.rend(); ++lt) {
            if (!lengths_.empty() && pending_.size() - *lt + 1 > *lengths_.rbegin())
                break;
            consider(*lt);
        }
    } else {
        for (const qsizetype length : lengths_) {
            const qsizetype start = pending_.size() + 1 - length;
            if (start < 0)
                break;
            if (pending_[start] == u'<')
                consider(start);
        }
    }
    if (bestTime >= 0) {
        consume(bestStart, bestTime);
        return;
    }
    // Nothing replaced earlier ends here: the first "<" waiting takes it now.
    const qsizetype first = lts_.front();
    const QString tagText = pending_.sliced(first) + u'>';
    const int now = ++clock_;
    replaced_[tagText].push_back(now);
    lengths_.insert(tagText.size());
    consume(first, now);
}

void TagDasher::consume(qsizetype from, int time)
{
    pending_.truncate(from);
    pending_ += u'-';
    while (!lts_.empty() && lts_.back() >= from)
        lts_.pop_back();
    while (!junctions_.empty() && junctions_.back().offset >= from)
        junctions_.pop_back();
    if (lts_.empty()) {
        // No "<" is left to reach back into this text.
        finished_ += pending_;
        pending_.clear();
        junctions_.clear();
        return;
    }
    junctions_.push_back({ from, time });
}

QString DashTags(QStringView text)
{
    TagDasher dasher;
    dasher.append(text);
    return dasher.result();
}
