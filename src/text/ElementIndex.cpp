#include "text/ElementIndex.h"

#include <algorithm>
#include <iterator>

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

const ElementIndex::Pairing& ElementIndex::pairingOf(const QString& name) const
{
    if (const auto known = pairings_.constFind(name); known != pairings_.cend())
        return *known;
    Pairing pairing;
    const Positions& exactOpens = positionsOf(closedByGt_, name);
    const Positions& blankOpens = positionsOf(closedByBlank_, name);
    std::merge(exactOpens.begin(), exactOpens.end(), blankOpens.begin(), blankOpens.end(),
        std::back_inserter(pairing.opens));
    const Positions& ends = positionsOf(closedByGt_, u'/' + name);
    qsizetype balance = 0;
    auto open = pairing.opens.begin();
    for (const qsizetype end : ends) {
        for (; open != pairing.opens.end() && *open < end; ++open)
            ++balance;
        pairing.endsByBalance[balance].push_back(end);
        --balance;
    }
    return *pairings_.insert(name, std::move(pairing));
}

// "</name>", "<name>" and "<name " cannot overlap one another, so an element
// is closed by the first end tag in front of which as many start tags as end
// tags of the name lie after the content start: the balance there equals the
// balance at the content start.
std::optional<QStringView> ElementIndex::elementContent(
    qsizetype tagStart, qsizetype tagLength, const QString& name) const
{
    const Pairing& pairing = pairingOf(name);
    const Positions& ends = positionsOf(closedByGt_, u'/' + name);
    const qsizetype contentStart = tagStart + tagLength;
    const qsizetype opensBefore
        = std::lower_bound(pairing.opens.begin(), pairing.opens.end(), contentStart) - pairing.opens.begin();
    const qsizetype endsBefore = std::lower_bound(ends.begin(), ends.end(), contentStart) - ends.begin();
    const auto sameBalance = pairing.endsByBalance.constFind(opensBefore - endsBefore);
    if (sameBalance == pairing.endsByBalance.cend())
        return std::nullopt;
    const auto end = std::lower_bound(sameBalance->begin(), sameBalance->end(), contentStart);
    if (end == sameBalance->end())
        return std::nullopt;
    return text_.sliced(contentStart, *end - contentStart);
}
