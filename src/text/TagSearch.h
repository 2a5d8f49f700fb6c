#pragma once

#include <QString>
#include <QStringView>
#include <algorithm>
#include <optional>

// Building blocks the toolkit operations share. Positions here are zero-based
// indexes into the UTF-16 text; the toolkit converts at its boundary.
namespace TagSearch {

struct Candidate {
    qsizetype lt = -1; // the "<"
    qsizetype gt = -1; // the first ">" after it
};

// Where the two characters first stand side by side at or after `from`, -1
// when nowhere. Tags are short: a character search beats a string search.
inline qsizetype IndexOfPair(QStringView text, char16_t first, char16_t second, qsizetype from = 0)
{
    for (qsizetype at = text.indexOf(QChar(first), from); at >= 0 && at + 1 < text.size();
         at = text.indexOf(QChar(first), at + 1)) {
        if (text[at + 1] == QChar(second))
            return at;
    }
    return -1;
}

// The first `c` in text[from, end), -1 when there is none. What a tag search
// looks for mostly stands a few places on: a plain loop finds it there sooner
// than the library's search, which pays a set-up for its wide steps; past the
// first few places the library's search takes over.
inline qsizetype IndexOfNear(QStringView text, char16_t c, qsizetype from, qsizetype end)
{
    const qsizetype nearEnd = std::min(end, from + 16);
    for (qsizetype at = from; at < nearEnd; ++at) {
        if (text[at] == QChar(c))
            return at;
    }
    return nearEnd >= end ? -1 : text.first(end).indexOf(QChar(c), nearEnd);
}

// The element name of a tag text, as TagScanner::GetTagName defines it, as
// a view of the tag; a null view for a text that is no tag.
inline QStringView TagNameViewOf(QStringView tag)
{
    if (tag.isEmpty() || tag.front() != u'<' || tag.indexOf(u'>') != tag.size() - 1)
        return {};
    QStringView name;
    if (const qsizetype blank = tag.indexOf(u' '); blank >= 0)
        name = tag.sliced(1, blank - 1); // so "</p >" gives "/p"
    else if (IndexOfPair(tag, u'<', u'/') >= 0)
        name = tag.sliced(2, tag.size() - 3);
    else if (const qsizetype slash = IndexOfPair(tag, u'/', u'>'); slash < 0)
        name = tag.sliced(1, tag.size() - 2);
    else
        name = tag.sliced(1, slash - 1);
    if (const qsizetype semicolon = name.indexOf(u';'); semicolon >= 0)
        name.truncate(semicolon);
    return name;
}

inline QString TagNameOf(QStringView tag)
{
    return TagNameViewOf(tag).toString();
}

// The candidate-tag search: the first accepted "<...>" at or after `from`.
// `onQuoted(lt, gt)` sees every examined candidate that holds a double quote,
// accepted or not, in text order. Each stretch of the text is scanned a
// bounded number of times, so a caller walking a whole text tag by tag stays
// linear even over runs of stray "<".
template <class OnQuoted>
std::optional<Candidate> FindCandidate(QStringView text, qsizetype from, OnQuoted&& onQuoted)
{
    qsizetype gt = -1; // first ">" after the current lt, reused along a run of stray "<"
    qsizetype quote = -1; // first double quote at or after lt, when known to be <= gt
    qsizetype quoteFreeFrom = 0; // no double quote in [quoteFreeFrom, gt] is known
    qsizetype lt = from < text.size() ? IndexOfNear(text, u'<', from, text.size()) : -1;
    while (lt >= 0) {
        if (gt <= lt) {
            gt = IndexOfNear(text, u'>', lt + 1, text.size());
            if (gt < 0)
                return std::nullopt;
        }
        if (quote < lt) {
            const qsizetype scanFrom = std::max(lt, quoteFreeFrom);
            const qsizetype found = IndexOfNear(text, u'"', scanFrom, gt + 1);
            quote = found;
            quoteFreeFrom = found < 0 ? gt + 1 : found;
        }
        if (quote >= lt && quote <= gt)
            onQuoted(lt, gt);
        const qsizetype innerLt = IndexOfNear(text, u'<', lt + 1, gt);
        if (innerLt >= 0) {
            lt = innerLt; // the next "<" after lt: searching again from lt + 1 would land here
            continue;
        }
        const QChar second = text[lt + 1];
        if (second != u' ' && second != u'>')
            return Candidate { lt, gt };
        // No "<" inside, so nothing between lt and gt is skipped.
        lt = IndexOfNear(text, u'<', gt + 1, text.size());
    }
    return std::nullopt;
}

// Counts non-overlapping occurrences of a pattern, left to right, in a prefix
// of a text that grows: occurrences already counted stay counted and the
// scan resumes where it stopped, so the whole growth costs one pass.
class GrowingCount {
public:
    GrowingCount(QStringView text, QStringView pattern, qsizetype start)
        : text_(text)
        , pattern_(pattern)
        , next_(start)
    {
    }

    // Counts the occurrences lying wholly before `end`.
    qsizetype extendTo(qsizetype end)
    {
        if (pattern_.isEmpty())
            return 0;
        for (;;) {
            if (end - next_ < pattern_.size())
                return count_;
            const qsizetype found = text_.sliced(0, end).indexOf(pattern_, next_);
            if (found < 0) {
                next_ = end - pattern_.size() + 1;
                return count_;
            }
            ++count_;
            next_ = found + pattern_.size();
        }
    }

private:
    QStringView text_;
    QStringView pattern_;
    qsizetype next_;
    qsizetype count_ = 0;
};

} // namespace TagSearch
