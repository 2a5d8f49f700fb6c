#include "rules/ConversionText.h"

#include "core/ToolkitState.h"
#include "core/ValidationContext.h"
#include "rules/ElementContents.h"
#include "text/TagScanner.h"

#include <algorithm>

QString CurrentElementText(const QString& document, ToolkitState& toolkit, const ValidationContext& context)
{
    if (const std::optional<ContentRange> range = CurrentElementContent(document, toolkit, context))
        return document.sliced(range->start, range->end - range->start);
    // Not a tag of the file as the scanner cut it, or an element the file
    // does not close: the toolkit answers, from its index where it can.
    std::int32_t position = context.filePosition;
    return TagScanner(toolkit).GetPCDATA(
        document, context.tagText, QStringLiteral("</") + context.tagName + u'>', position);
}

bool WholeWordIndex::occursAt(QStringView text, qsizetype at) const
{
    return text.sliced(at, word_.size()).compare(word_, Qt::CaseInsensitive) == 0;
}

// Takes in every occurrence that begins before the limit, each once.
void WholeWordIndex::findBefore(QStringView text, qsizetype limit)
{
    if (next_ == -2)
        next_ = text.indexOf(word_, 0, Qt::CaseInsensitive);
    const qsizetype length = word_.size();
    while (next_ >= 0 && next_ < limit) {
        const qsizetype after = next_ + length;
        if ((next_ == 0 || !IsWordCharacter(text[next_ - 1]))
            && (after >= text.size() || !IsWordCharacter(text[after])))
            clear_.push_back(next_);
        next_ = text.indexOf(word_, next_ + 1, Qt::CaseInsensitive);
    }
}

// An occurrence inside the range has both neighbours in the range, so the
// whole text's answer for it holds; only one at either edge of the range
// sees its outer neighbour cut off, and those two are looked at directly.
bool WholeWordIndex::containsIn(QStringView text, qsizetype start, qsizetype end)
{
    const qsizetype length = word_.size();
    if (length == 0 || end - start < length)
        return false;
    if (occursAt(text, start) && (start + length == end || !IsWordCharacter(text[start + length])))
        return true;
    const qsizetype last = end - length;
    if (last > start && occursAt(text, last) && !IsWordCharacter(text[last - 1]))
        return true;
    findBefore(text, last);
    const auto inside = std::upper_bound(clear_.begin(), clear_.end(), start);
    return inside != clear_.end() && *inside < last;
}

namespace {

// Every code unit outside the surrogates with its folded form, by folded
// form: the units that fold alike stand together. Made once.
const std::vector<std::pair<char16_t, char16_t>>& unitsByFold()
{
    static const std::vector<std::pair<char16_t, char16_t>> units = [] {
        std::vector<std::pair<char16_t, char16_t>> all;
        for (char32_t u = 0; u <= 0xFFFF; ++u) {
            if (!QChar::isSurrogate(u))
                all.emplace_back(char16_t(QChar::toCaseFolded(u)), char16_t(u));
        }
        std::sort(all.begin(), all.end());
        return all;
    }();
    return units;
}

} // namespace

CaselessFinder::CaselessFinder(const QString& needle)
    : needle_(needle)
{
    for (const QChar c : needle_) {
        if (c.isSurrogate())
            return;
    }
    if (needle_.isEmpty())
        return;
    const auto& units = unitsByFold();
    const char16_t folded = char16_t(QChar::toCaseFolded(needle_[0].unicode()));
    const auto alike = std::equal_range(units.begin(), units.end(), std::pair<char16_t, char16_t>(folded, 0),
        [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto it = alike.first; it != alike.second; ++it)
        firstUnits_.push_back(it->second);
}

PrecedingText::Searches PrecedingText::SearchesFor(const QStringList& expandedTexts)
{
    auto searches = std::make_shared<std::vector<CaselessFinder>>();
    for (const QString& expanded : expandedTexts) {
        if (!expanded.isEmpty())
            searches->emplace_back(expanded);
    }
    return searches;
}

PrecedingText::PrecedingText(qsizetype start, const QStringList& expandedTexts, qsizetype slack)
    : PrecedingText(start, SearchesFor(expandedTexts), slack)
{
}

PrecedingText::PrecedingText(qsizetype start, Searches searches, qsizetype slack)
    : start_(start)
    , fed_(start)
    , slack_(slack)
    , searches_(std::move(searches))
{
    for (const CaselessFinder& finder : *searches_) {
        occurrences_.insert(finder.needle(), { &finder });
        keep_ = std::max(keep_, finder.needle().size());
    }
}

void PrecedingText::extendTo(QStringView whole, qsizetype end)
{
    end = std::min(end, whole.size());
    if (end <= fed_)
        return;
    dasher_.append(whole.sliced(fed_, end - fed_));
    fed_ = end;
    takeInFinished();
}

// Looks at the newly finished text once, then lets it go but for the last
// characters, where a later occurrence may begin (and the one before it).
void PrecedingText::takeInFinished()
{
    const QString& finished = dasher_.finished();
    const qsizetype base = dasher_.finishedOffset();
    // Only the last letter or digit of the new text counts: read from its end.
    for (qsizetype i = finished.size() - 1; i >= scanned_ - base; --i) {
        if (IsWordCharacter(finished[i])) {
            lastWord_ = base + i;
            break;
        }
    }
    for (auto it = occurrences_.begin(); it != occurrences_.end(); ++it) {
        const QString& expanded = it.key();
        const qsizetype from = std::max(scanned_ - expanded.size() + 1, base) - base;
        it->finder->forEach(finished, from, [&](qsizetype found) {
            it->last = base + found;
            it->wordBefore = found > 0 && IsWordCharacter(finished[found - 1]);
        });
    }
    scanned_ = base + finished.size();
    dasher_.forgetFinished(keep_, slack_);
}

bool PrecedingText::endsWithExpanded(const QString& expanded) const
{
    const auto known = occurrences_.constFind(expanded);
    if (known == occurrences_.cend())
        return false;
    const QString& finished = dasher_.finished();
    const QString& pending = dasher_.pending();
    const qsizetype base = dasher_.finishedOffset();

    // An occurrence that reaches into the pending text is later than any
    // that lies wholly in the finished text.
    const qsizetype overlap = std::min(finished.size(), expanded.size() - 1);
    const QString tail = finished.right(overlap) + pending;
    qsizetype last = known->last;
    bool wordBefore = known->wordBefore;
    if (const qsizetype inTail = tail.lastIndexOf(expanded, -1, Qt::CaseInsensitive); inTail >= 0) {
        const qsizetype inFinished = finished.size() - overlap + inTail;
        last = base + inFinished;
        wordBefore
            = inFinished > 0 && IsWordCharacter(inTail > 0 ? tail[inTail - 1] : finished[inFinished - 1]);
    }
    if (last < 0 || wordBefore)
        return false;

    qsizetype lastWord = lastWord_;
    for (qsizetype i = pending.size() - 1; i >= 0; --i) {
        if (IsWordCharacter(pending[i])) {
            lastWord = base + finished.size() + i;
            break;
        }
    }
    return lastWord < last + expanded.size();
}
