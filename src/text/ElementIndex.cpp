#include "text/ElementIndex.h"

#include <algorithm>

ElementIndex::ElementIndex(QStringView text)
    : text_(text)
{
    for (qsizetype lt = text.indexOf(u'<'); lt >= 0;) {
        qsizetype stop = lt + 1;
        while (stop < text.size() && text[stop] != u' ' && text[stop] != u'<' && text[stop] != u'>')
            ++stop;
        const QStringView key = text.sliced(lt + 1, stop - lt - 1);
        if (stop < text.size() && text[stop] == u'>')
            closedByGt_[key].push_back(lt);
        else if (stop < text.size() && text[stop] == u' ')
            closedByBlank_[key].push_back(lt);
        lt = stop < text.size() && text[stop] == u'<' ? stop : text.indexOf(u'<', stop);
    }
}

const ElementIndex::Positions& ElementIndex::positionsOf(
    const QHash<QStringView, Positions>& map, QStringView key) const
{
    const auto it = map.constFind(key);
    return it == map.cend() ? none_ : *it;
}

qsizetype ElementIndex::countWithin(const Positions& positions, qsizetype from, qsizetype lastStart)
{
    if (lastStart < from)
        return 0;
    const auto first = std::lower_bound(positions.begin(), positions.end(), from);
    const auto last = std::upper_bound(first, positions.end(), lastStart);
    return last - first;
}

std::optional<QStringView> ElementIndex::elementContent(
    qsizetype tagStart, qsizetype tagLength, const QString& name) const
{
    const QString endKey = u'/' + name;
    const Positions& ends = positionsOf(closedByGt_, endKey);
    const Positions& exactOpens = positionsOf(closedByGt_, name);
    const Positions& blankOpens = positionsOf(closedByBlank_, name);
    const qsizetype contentStart = tagStart + tagLength;
    const qsizetype openLength = name.size() + 2;
    const auto firstEnd = std::lower_bound(ends.begin(), ends.end(), contentStart);
    // "</name>", "<name>" and "<name " cannot overlap themselves, so counting
    // occurrences is the same as splitting at them.
    for (auto end = firstEnd; end != ends.end(); ++end) {
        const qsizetype opens = countWithin(exactOpens, contentStart, *end - openLength)
            + countWithin(blankOpens, contentStart, *end - openLength);
        if (opens == end - firstEnd)
            return text_.sliced(contentStart, *end - contentStart);
    }
    return std::nullopt;
}
