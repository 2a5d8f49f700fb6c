#include "core/ElementIndex.h"

#include "core/UnitSearch.h"

#include <algorithm>
#include <iterator>

ElementIndex::ElementIndex(QStringView text)
    : text_(text)
{
    // The text between tags is short: an inline look finds the next "<"
    // sooner than starting the library's search for every tag.
    for (qsizetype lt = IndexOfEither(text, 0, u'<', u'<'); lt >= 0; ++openers_) {
        qsizetype stop = lt + 1;
        while (stop < text.size() && text[stop] != u' ' && text[stop] != u'<' && text[stop] != u'>')
            ++stop;
        const QStringView key = text.sliced(lt + 1, stop - lt - 1);
        if (stop < text.size() && text[stop] == u'>')
            closedByGt_.at(key).push_back(std::int32_t(lt));
        else if (stop < text.size() && text[stop] == u' ')
            closedByBlank_.at(key).push_back(std::int32_t(lt));
        lt = stop < text.size() && text[stop] == u'<' ? stop : IndexOfEither(text, stop, u'<', u'<');
    }
}

ElementIndex::Positions& ElementIndex::PositionsByName::at(QStringView key)
{
    Slot& slot = recent_[slotOf(key) % recent_.size()];
    if (!slot.filled || !sameName(slot.key, key)) {
        const auto known = lists_.constFind(key);
        std::size_t list = 0;
        if (known != lists_.cend()) {
            list = *known;
        } else {
            list = positions_.size();
            positions_.emplace_back();
            lists_.insert(key, list);
        }
        slot = { key, list, true };
    }
    return positions_[slot.list];
}

const ElementIndex::Positions* ElementIndex::PositionsByName::find(QStringView key) const
{
    const auto known = lists_.constFind(key);
    return known == lists_.cend() ? nullptr : &positions_[*known];
}

const ElementIndex::Positions& ElementIndex::positionsOf(const PositionsByName& map, QStringView key) const
{
    const Positions* found = map.find(key);
    return found ? *found : none_;
}

// An element's content ends at the first end tag after it where the nesting
// level falls below the level at the content's start: the start tags and end
// tags in between balance out. With level[k] the nesting before event k (+1
// per start tag, -1 per end tag), that end tag is the event just before the
// first later k whose level is lower: "next lower level", one stack pass.
const ElementIndex::Matching& ElementIndex::matchingOf(QStringView name) const
{
    Recent& slot = recent_[slotOf(name) % recent_.size()];
    if (!slot.matching || !sameName(slot.name, name)) {
        slot.matching = &builtMatching(name);
        slot.name = name.toString();
    }
    return *slot.matching;
}

const ElementIndex::Matching& ElementIndex::builtMatching(QStringView name) const
{
    const auto found = matchings_.constFind(name.toString());
    if (found != matchings_.cend())
        return **found;
    const Positions& ends = positionsOf(closedByGt_, QString(u'/' + name.toString()));
    Positions opens = positionsOf(closedByGt_, name);
    const Positions& blankOpens = positionsOf(closedByBlank_, name);
    opens.insert(opens.end(), blankOpens.begin(), blankOpens.end());
    std::sort(opens.begin(), opens.end());

    Matching matching;
    std::vector<bool> isEnd;
    std::merge(opens.begin(), opens.end(), ends.begin(), ends.end(), std::back_inserter(matching.positions));
    isEnd.reserve(matching.positions.size());
    for (auto o = opens.cbegin(), e = ends.cbegin(); o != opens.cend() || e != ends.cend();) {
        const bool takeEnd = o == opens.cend() || (e != ends.cend() && *e < *o);
        isEnd.push_back(takeEnd);
        takeEnd ? ++e : ++o;
    }
    const qsizetype count = static_cast<qsizetype>(matching.positions.size());
    std::vector<std::int32_t> level(count + 1, 0);
    for (qsizetype k = 0; k < count; ++k)
        level[k + 1] = level[k] + (isEnd[k] ? -1 : 1);
    matching.closer.assign(count + 1, -1);
    std::vector<std::int32_t> waiting; // indexes whose next lower level is not found yet
    for (qsizetype k = 0; k <= count; ++k) {
        while (!waiting.empty() && level[k] < level[waiting.back()]) {
            matching.closer[waiting.back()] = std::int32_t(k - 1);
            waiting.pop_back();
        }
        waiting.push_back(std::int32_t(k));
    }
    return **matchings_.emplace(name.toString(), std::make_shared<Matching>(std::move(matching)));
}

std::size_t ElementIndex::firstAtOrAfter(const Matching& matching, qsizetype at)
{
    const Positions& positions = matching.positions;
    const auto before = [&](std::size_t k) { return k > 0 && positions[k - 1] >= at; };
    const auto reaches = [&](std::size_t k) { return k == positions.size() || positions[k] >= at; };
    std::size_t k = std::min(matching.cursor, positions.size());
    if (!before(k)) {
        // A few steps forward from the last answer, then a search.
        for (int step = 0; step < 8 && !reaches(k); ++step)
            ++k;
        if (!reaches(k))
            k = std::size_t(std::lower_bound(positions.begin() + std::ptrdiff_t(k), positions.end(), at)
                - positions.begin());
    } else {
        k = std::size_t(std::lower_bound(positions.begin(), positions.begin() + std::ptrdiff_t(k), at)
            - positions.begin());
    }
    matching.cursor = k;
    return k;
}

std::optional<QStringView> ElementIndex::elementContent(
    qsizetype tagStart, qsizetype tagLength, QStringView name) const
{
    const Matching& matching = matchingOf(name);
    const qsizetype contentStart = tagStart + tagLength;
    const std::size_t first = firstAtOrAfter(matching, contentStart);
    const qsizetype closer = matching.closer[first];
    if (closer < 0)
        return std::nullopt;
    return text_.sliced(contentStart, matching.positions[closer] - contentStart);
}
