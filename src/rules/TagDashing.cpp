#include "rules/TagDashing.h"

#include <algorithm>

void TagDasher::append(QStringView text)
{
    // While no "<" waits, nothing can reach back into the text: it is
    // finished as it comes.
    const auto take = [this](QStringView run) {
        if (lts_.empty())
            finished_ += run;
        else
            pending_ += run;
    };
    qsizetype from = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c != u'<' && c != u'>')
            continue;
        take(text.sliced(from, i - from));
        from = i + 1;
        if (c == u'<') {
            lts_.push_back(pending_.size());
            pending_ += c;
        } else if (lts_.empty()) {
            finished_ += c;
        } else {
            closeTag();
        }
    }
    take(text.sliced(from));
}

void TagDasher::leaveCleanMode()
{
    clean_ = false;
    // Only the first time a text was taken counts, and only the order of
    // the times matters.
    for (const auto& [offset, length] : cleanSpans_) {
        const QStringView tagText = QStringView(cleanTexts_).sliced(offset, length);
        if (replaced_.contains(tagText))
            continue;
        replaced_.insert(tagText, { ++clock_ });
        lengths_.insert(length);
    }
    cleanSpans_ = {};
}

int TagDasher::earliestTimeAfter(QStringView tagText, int after) const
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
        pending_.truncate(0); // keeps its room for the next tag
        junctions_.clear();
        return;
    }
    if (clean_ && lts_.size() == 1) {
        // One "<" waits: whichever way its tag text is replaced, from it
        // on the text becomes "-". The text is only noted, in order, for a
        // later stray "<" to look up.
        const QStringView pending(pending_);
        const qsizetype start = lts_.front();
        cleanSpans_.push_back({ cleanTexts_.size(), pending.size() - start });
        cleanTexts_ += pending.sliced(start);
        finished_ += pending.first(start);
        finished_ += u'-';
        pending_.truncate(0); // keeps its room for the next tag
        lts_.clear();
        return;
    }
    if (clean_)
        leaveCleanMode();
    // A tag text replaced earlier removes this ">" when it ended here at
    // that time: every "-" it spans must be older than the replacement. Of
    // several such texts the earliest replacement wins.
    int bestTime = -1;
    qsizetype bestStart = -1;
    const auto consider = [&](qsizetype start) {
        int newestJunction = 0;
        for (auto j = junctions_.rbegin(); j != junctions_.rend() && j->offset >= start; ++j)
            newestJunction = std::max(newestJunction, j->time);
        const int time = earliestTimeAfter(QStringView(pending_).sliced(start), newestJunction);
        if (time >= 0 && (bestTime < 0 || time < bestTime)) {
            bestTime = time;
            bestStart = start;
        }
    };
    // Only starts at a "<" within the longest replaced text can match; look
    // at whichever is fewer, the "<" or the known lengths.
    if (lts_.size() <= lengths_.size()) {
        for (auto lt = lts_.rbegin(); lt != lts_.rend(); ++lt) {
            if (!lengths_.empty() && pending_.size() - *lt > *lengths_.rbegin())
                break;
            consider(*lt);
        }
    } else {
        for (const qsizetype length : lengths_) {
            const qsizetype start = pending_.size() - length;
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
    const QStringView tagText = QStringView(pending_).sliced(first);
    const int now = ++clock_;
    auto known = replaced_.find(tagText);
    if (known == replaced_.end()) {
        replacedTexts_.push_back(tagText.toString());
        known = replaced_.insert(QStringView(replacedTexts_.back()), {});
        lengths_.insert(tagText.size());
    }
    known->push_back(now);
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
        pending_.truncate(0); // keeps its room for the next tag
        junctions_.clear();
        return;
    }
    junctions_.push_back({ from, time });
}

QString DashTags(QStringView text)
{
    if (!text.contains(u'>'))
        return text.toString();
    TagDasher dasher;
    dasher.append(text);
    return dasher.result();
}
