#include "text/TagStripper.h"

#include "text/TagSearch.h"

#include <algorithm>

qsizetype TagStripper::Markers::nextAlive(qsizetype i)
{
    while (nextLink[i] != i) {
        nextLink[i] = nextLink[nextLink[i]];
        i = nextLink[i];
    }
    return i;
}

qsizetype TagStripper::Markers::prevAlive(qsizetype i)
{
    qsizetype k = i + 1;
    while (prevLink[k] != k) {
        prevLink[k] = prevLink[prevLink[k]];
        k = prevLink[k];
    }
    return k - 1;
}

void TagStripper::Markers::kill(qsizetype i)
{
    nextLink[i] = i + 1;
    prevLink[i + 1] = i;
}

qsizetype TagStripper::Markers::indexOf(qsizetype position) const
{
    return std::lower_bound(pos.begin(), pos.end(), position) - pos.begin();
}

qsizetype TagStripper::Markers::after(qsizetype position)
{
    return atOrAfter(position + 1);
}

qsizetype TagStripper::Markers::atOrAfter(qsizetype position)
{
    const qsizetype i = nextAlive(indexOf(position));
    return i < qsizetype(pos.size()) ? pos[i] : -1;
}

qsizetype TagStripper::Markers::before(qsizetype position)
{
    const qsizetype i = prevAlive(indexOf(position) - 1);
    return i >= 0 ? pos[i] : -1;
}

TagStripper::TagStripper(QStringView text, std::function<void(const QString&)> recordQuotedMarkup)
    : text_(text)
    , record_(std::move(recordQuotedMarkup))
{
    charLink_.resize(text.size() + 1);
    for (qsizetype c = 0; c <= text.size(); ++c)
        charLink_[c] = c;
    addMarkers();
    registered_.assign(lt_.pos.size(), 0);
    examined_.assign(lt_.pos.size(), 0);
}

void TagStripper::addMarkers()
{
    for (qsizetype c = 0; c < text_.size(); ++c) {
        const QChar ch = text_[c];
        if (ch == u'<')
            lt_.pos.push_back(c);
        else if (ch == u'>')
            gt_.pos.push_back(c);
        else if (ch == u'"')
            quote_.pos.push_back(c);
    }
    for (Markers* markers : { &lt_, &gt_, &quote_ }) {
        const qsizetype count = markers->pos.size();
        markers->nextLink.resize(count + 1);
        markers->prevLink.resize(count + 1);
        for (qsizetype i = 0; i <= count; ++i)
            markers->nextLink[i] = markers->prevLink[i] = i;
    }
}

qsizetype TagStripper::nextAliveChar(qsizetype c)
{
    while (charLink_[c] != c) {
        charLink_[c] = charLink_[charLink_[c]];
        c = charLink_[c];
    }
    return c;
}

QString TagStripper::aliveText(qsizetype from, qsizetype to)
{
    QString text;
    for (qsizetype c = nextAliveChar(from); c <= to; c = nextAliveChar(c + 1))
        text += text_[c];
    return text;
}

QString TagStripper::run()
{
    for (qsizetype i = 0; i < qsizetype(lt_.pos.size()); ++i)
        registerIfClean(i);
    while (!acceptable_.empty()) {
        const qsizetype first = *acceptable_.begin();
        const qsizetype start = lt_.pos[first];
        examineUpTo(start);
        const QString tagText = aliveText(start, gt_.after(start));
        deleteAll(tagText);
        if (!tagText.contains(u"/>"))
            deleteAll(QStringLiteral("</") + TagSearch::TagNameOf(tagText) + u'>');
    }
    // The last search walks every "<" that still has a ">" after it, then finds nothing.
    if (const qsizetype lastGt = gt_.before(text_.size()); lastGt >= 0)
        examineUpTo(lastGt - 1);
    QString result;
    result.reserve(text_.size());
    for (qsizetype c = nextAliveChar(0); c < text_.size(); c = nextAliveChar(c + 1))
        result += text_[c];
    return result;
}

void TagStripper::registerIfClean(qsizetype ltIndex)
{
    if (registered_[ltIndex] || lt_.nextAlive(ltIndex) != ltIndex)
        return;
    const qsizetype start = lt_.pos[ltIndex];
    const qsizetype end = gt_.after(start);
    const qsizetype innerLt = lt_.after(start);
    if (end < 0 || (innerLt >= 0 && innerLt < end))
        return;
    registered_[ltIndex] = 1;
    const QString tagText = aliveText(start, end);
    occurrences_[tagText].push_back(ltIndex);
    if (tagText[1] != u' ' && tagText[1] != u'>')
        acceptable_.insert(ltIndex);
}

void TagStripper::examine(qsizetype ltIndex)
{
    examined_[ltIndex] = 1;
    const qsizetype start = lt_.pos[ltIndex];
    const qsizetype end = gt_.after(start);
    const qsizetype quote = quote_.atOrAfter(start);
    if (end < 0 || quote < 0 || quote > end)
        return;
    const qsizetype closingQuote = quote_.after(quote);
    if (closingQuote < 0)
        return;
    const qsizetype nextLt = lt_.after(quote);
    const qsizetype nextGt = gt_.after(quote);
    const bool valueHasMarkup
        = (nextLt >= 0 && nextLt < closingQuote) || (nextGt >= 0 && nextGt < closingQuote);
    if (valueHasMarkup)
        record_(aliveText(start, end));
}

void TagStripper::examineUpTo(qsizetype lastPosition)
{
    while (!touched_.empty() && lt_.pos[*touched_.begin()] <= lastPosition) {
        const qsizetype i = *touched_.begin();
        touched_.erase(touched_.begin());
        if (lt_.nextAlive(i) == i)
            examine(i);
    }
    const qsizetype count = lt_.pos.size();
    for (qsizetype i = lt_.nextAlive(frontier_); i < count && lt_.pos[i] <= lastPosition;
         i = lt_.nextAlive(frontier_)) {
        examine(i);
        frontier_ = i + 1;
    }
}

void TagStripper::deleteAll(const QString& tagText)
{
    const auto found = occurrences_.find(tagText);
    if (found == occurrences_.end())
        return;
    std::vector<qsizetype> targets = std::move(*found);
    occurrences_.erase(found);
    std::erase_if(targets, [this](qsizetype i) { return lt_.nextAlive(i) != i; });
    // Everything is judged on the text as it was before this deletion, as one replace-all would see it.
    for (const qsizetype i : targets)
        markTouched(lt_.pos[i]);
    for (const qsizetype i : targets)
        deleteSegment(i);
    for (const qsizetype i : targets)
        registerJunction(lt_.pos[i]);
}

void TagStripper::markTouched(qsizetype segmentStart)
{
    // A candidate changes only when a deletion falls inside it: then it is one
    // of the stray "<" whose first ">" is this stretch's ">". Its quoted value
    // needs no watching of its own: a value that ends inside the candidate is
    // as fixed as the candidate, and one that runs past the candidate's ">"
    // holds markup from the first examination on.
    markOpenRun(segmentStart, gt_.before(segmentStart));
}

void TagStripper::markOpenRun(qsizetype position, qsizetype boundary)
{
    for (qsizetype i = lt_.prevAlive(lt_.indexOf(position) - 1); i >= 0 && lt_.pos[i] > boundary;
         i = lt_.prevAlive(i - 1)) {
        if (examined_[i]) {
            examined_[i] = 0;
            touched_.insert(i);
        }
    }
}

void TagStripper::deleteSegment(qsizetype ltIndex)
{
    const qsizetype start = lt_.pos[ltIndex];
    const qsizetype end = gt_.after(start);
    for (qsizetype c = nextAliveChar(start); c <= end; c = nextAliveChar(c + 1))
        charLink_[c] = c + 1;
    const qsizetype quoteCount = quote_.pos.size();
    for (qsizetype q = quote_.nextAlive(quote_.indexOf(start)); q < quoteCount && quote_.pos[q] < end;
         q = quote_.nextAlive(q + 1))
        quote_.kill(q);
    lt_.kill(ltIndex);
    gt_.kill(gt_.indexOf(end));
    acceptable_.erase(ltIndex);
}

void TagStripper::registerJunction(qsizetype segmentStart)
{
    // Only the last stray "<" before a removed stretch can have become a clean stretch.
    const qsizetype strayLt = lt_.before(segmentStart);
    if (strayLt >= 0 && strayLt > gt_.before(segmentStart))
        registerIfClean(lt_.indexOf(strayLt));
}
