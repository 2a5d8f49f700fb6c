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

// The content that starts at some place ends at the first "</name>" where as
// many opens as ends lie between the two. Numbering the events in text order
// with a running level (+1 an open, -1 an end), that is the end whose step
// first takes the level below the one at the start. One pass from the back,
// remembering the nearest event seen at every level, answers every start at
// once, however deep the nesting.
const ElementIndex::Matching& ElementIndex::matchingOf(const QString& name) const
{
    if (const auto found = matchings_.constFind(name); found != matchings_.cend())
        return *found;
    const Positions& ends = positionsOf(closedByGt_, u'/' + name);
    Positions opens = positionsOf(closedByGt_, name);
    const Positions& blankOpens = positionsOf(closedByBlank_, name);
    opens.insert(opens.end(), blankOpens.begin(), blankOpens.end());
    std::sort(opens.begin(), opens.end());

    Matching matching;
    std::vector<int> step;
    std::merge(opens.begin(), opens.end(), ends.begin(), ends.end(), std::back_inserter(matching.positions));
    step.reserve(matching.positions.size());
    for (qsizetype i = 0, o = 0; i < qsizetype(matching.positions.size()); ++i) {
        const bool isOpen = o < qsizetype(opens.size()) && opens[o] == matching.positions[i];
        o += isOpen ? 1 : 0;
        step.push_back(isOpen ? 1 : -1);
    }
    const qsizetype count = matching.positions.size();
    std::vector<qsizetype> level(count + 1, 0); // level before event i, offset to stay >= 0
    level[0] = count;
    for (qsizetype i = 0; i < count; ++i)
        level[i + 1] = level[i] + step[i];
    std::vector<qsizetype> nearestAtLevel(2 * count + 2, -1);
    matching.contentEnd.assign(count, -1);
    nearestAtLevel[level[count]] = count;
    for (qsizetype i = count - 1; i >= 0; --i) {
        const qsizetype drop = nearestAtLevel[level[i] - 1];
        if (drop > 0)
            matching.contentEnd[i] = matching.positions[drop - 1];
        nearestAtLevel[level[i]] = i;
    }
    return *matchings_.insert(name, std::move(matching));
}

std::optional<QStringView> ElementIndex::elementContent(
    qsizetype tagStart, qsizetype tagLength, const QString& name) const
{
    const Matching& matching = matchingOf(name);
    const qsizetype contentStart = tagStart + tagLength;
    const auto first = std::lower_bound(matching.positions.begin(), matching.positions.end(), contentStart);
    if (first == matching.positions.end())
        return std::nullopt;
    const qsizetype end = matching.contentEnd[first - matching.positions.begin()];
    if (end < 0)
        return std::nullopt;
    return text_.sliced(contentStart, end - contentStart);
}
