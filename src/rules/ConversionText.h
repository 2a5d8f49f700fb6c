#pragma once

#include "core/UnitSearch.h"
#include "rules/TagDashing.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <array>
#include <memory>
#include <vector>

struct ToolkitState;
struct ValidationContext;

// Text the convert-to-tag and convert-to-attribute rules read around the
// current tag.

// A word is made of the characters that, upper-cased, lie in A to Z or 0 to 9.
inline bool IsWordCharacter(QChar c)
{
    // Most text is ASCII, where the case tables need not be read. (Beyond
    // it some letters upper-case into A to Z, so those go the long way.)
    if (c.unicode() < 0x80) {
        const char16_t u = c.unicode();
        return (u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z') || (u >= u'0' && u <= u'9');
    }
    const QChar upper = c.toUpper();
    return (upper >= u'A' && upper <= u'Z') || (upper >= u'0' && upper <= u'9');
}

// The content of the element that the current start tag opens, as GetPCDATA
// gives it from the tag's position: empty when the element is not closed.
// The answer comes from the toolkit's index of the file, built once, so that
// neither long nor unclosed elements cost a pass each.
QString CurrentElementText(const QString& document, ToolkitState& toolkit, const ValidationContext& context);

// Where one word stands as a whole word in one text, letter case ignored,
// read only as far into the text as questions reach and never read again:
// a footnote nested ten thousand deep holds all the deeper ones, and
// searching each content anew reads the text once per level.
class WholeWordIndex {
public:
    explicit WholeWordIndex(QString word)
        : word_(std::move(word))
    {
    }

    // The same answer as ContainsWholeWord(text.sliced(start, end - start),
    // word), for a range [start, end) of the one text this index reads.
    bool containsIn(QStringView text, qsizetype start, qsizetype end);

private:
    bool occursAt(QStringView text, qsizetype at) const;
    void findBefore(QStringView text, qsizetype limit);

    QString word_;
    qsizetype next_ = -2; // the next occurrence not yet looked at; -1 none, -2 not searched yet
    // Occurrences with no letter or digit on either side in the whole text, ascending.
    std::vector<qsizetype> clear_;
};

// Every occurrence of one text in others, letter case ignored, at the same
// places as QString::indexOf with Qt::CaseInsensitive finds them. The
// library folds every character it compares; here the library's fast
// search for one character finds the places where the first character (in
// any of its cases) stands, and only those are compared in full.
class CaselessFinder {
public:
    CaselessFinder() = default;
    explicit CaselessFinder(const QString& needle);

    const QString& needle() const { return needle_; }

    // Calls found(start) for every occurrence that starts at or after
    // `from`, overlapping ones included, in ascending order.
    template <class Found> void forEach(QStringView text, qsizetype from, Found&& found) const
    {
        if (needle_.isEmpty())
            return;
        if (firstUnits_.empty()) {
            for (qsizetype at = text.indexOf(needle_, from, Qt::CaseInsensitive); at >= 0;
                 at = text.indexOf(needle_, at + 1, Qt::CaseInsensitive))
                found(at);
            return;
        }
        const qsizetype last = text.size() - needle_.size();
        if (firstUnits_.size() <= 2) {
            // A letter's two cases (or a character's one form) are looked
            // for together, in one read of the text.
            const char16_t one = firstUnits_.front();
            const char16_t other = firstUnits_.back();
            for (qsizetype at = IndexOfEither(text, from, one, other); at >= 0 && at <= last;
                 at = IndexOfEither(text, at + 1, one, other)) {
                if (secondMayMatch(text, at)
                    && text.sliced(at, needle_.size()).compare(needle_, Qt::CaseInsensitive) == 0)
                    found(at);
            }
            return;
        }
        // One cursor for each form of the first character, each moved
        // only forward, so the text is read once for each form.
        // A letter has a form or two, seldom more: their cursors stay on the
        // stack.
        const std::size_t forms = firstUnits_.size();
        std::array<qsizetype, 4> few {};
        std::vector<qsizetype> many(forms > few.size() ? forms : 0);
        qsizetype* next = forms > few.size() ? many.data() : few.data();
        for (std::size_t k = 0; k < forms; ++k)
            next[k] = nextOf(text, firstUnits_[k], from);
        for (;;) {
            std::size_t nearest = forms;
            for (std::size_t k = 0; k < forms; ++k) {
                if (next[k] >= 0 && (nearest == forms || next[k] < next[nearest]))
                    nearest = k;
            }
            if (nearest == forms || next[nearest] > last)
                return;
            const qsizetype at = next[nearest];
            if (secondMayMatch(text, at)
                && text.sliced(at, needle_.size()).compare(needle_, Qt::CaseInsensitive) == 0)
                found(at);
            next[nearest] = nextOf(text, firstUnits_[nearest], at + 1);
        }
    }

private:
    // The first place of the unit at or after `from`, -1 for none. A common
    // letter comes again within a few characters, and a short look costs
    // less than starting the library's search, which takes over after it.
    static qsizetype nextOf(QStringView text, char16_t unit, qsizetype from)
    {
        const qsizetype near = std::min(text.size(), from + 16);
        for (qsizetype at = from; at < near; ++at) {
            if (text[at].unicode() == unit)
                return at;
        }
        return near < text.size() ? text.indexOf(QChar(unit), near) : -1;
    }

    // The first character of a common word leads to many candidates, and
    // most of them differ at the second character already. Two ASCII
    // characters fold alike only when their lower cases are equal, so that
    // is told without the library's compare; any other pair goes to it.
    bool secondMayMatch(QStringView text, qsizetype at) const
    {
        if (needle_.size() < 2)
            return true;
        const char16_t t = text[at + 1].unicode();
        const char16_t n = needle_[1].unicode();
        const auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; };
        return t >= 0x80 || n >= 0x80 || lower(t) == lower(n);
    }

    QString needle_;
    // Every code unit that folds as the needle's first does; empty when the
    // needle holds a surrogate, and then the library searches.
    std::vector<char16_t> firstUnits_;
};

// The dashed text from a fixed start up to a tag, for tag after tag of one
// element. The text only ever grows, so it is dashed once, and the answers
// look back from its end only as far as they depend on.
class PrecedingText {
public:
    // The expanded texts that will be asked about; the dashed text itself is
    // not kept, only what these answers need (and up to `slack` characters
    // more).
    PrecedingText(qsizetype start, const QStringList& expandedTexts, qsizetype slack = 65536);

    // The searches for the expanded texts, made once and shared by every
    // preceding text of a file.
    using Searches = std::shared_ptr<const std::vector<CaselessFinder>>;
    static Searches SearchesFor(const QStringList& expandedTexts);
    PrecedingText(qsizetype start, Searches searches, qsizetype slack = 65536);

    qsizetype start() const { return start_; }
    qsizetype end() const { return fed_; }

    // Takes in the text up to `end` (zero-based, exclusive); `end` never
    // goes back.
    void extendTo(QStringView whole, qsizetype end);

    // Whether the expanded text, letter case ignored, stands last in the
    // dashed text: its last occurrence has no letter or digit right before
    // it and none anywhere after it. An empty text, or one not given at the
    // start, is never found.
    bool endsWithExpanded(const QString& expanded) const;

private:
    struct Occurrence {
        const CaselessFinder* finder = nullptr; // one of searches_
        qsizetype last = -1; // the last occurrence in the finished text
        bool wordBefore = false; // a letter or digit stands right before it
    };
    void takeInFinished();

    qsizetype start_;
    qsizetype fed_;
    TagDasher dasher_;
    qsizetype keep_ = 0; // the longest expanded text
    qsizetype slack_;
    qsizetype scanned_ = 0; // the finished text taken in so far
    qsizetype lastWord_ = -1; // the last letter or digit in it
    Searches searches_;
    QHash<QString, Occurrence> occurrences_;
};
