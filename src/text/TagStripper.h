#pragma once

#include <QHash>
#include <QString>
#include <QStringView>
#include <functional>
#include <set>
#include <vector>

// Removes every tag from a text the way the toolkit defines it: take the first
// accepted tag, delete every occurrence of its text (and of its end tag
// "</name>" unless it is an empty-element tag), then look again from the
// start, until no tag is left. Deleting can join a stray "<" with a later ">"
// into a new tag, which a later round then removes.
//
// Restarting from the start after every deletion costs a pass per distinct
// tag. This class gets the same result, and the same quoted-markup records in
// the same order, in near-linear time:
// - an occurrence of a tag text is always a "clean" stretch: a "<", the first
//   ">" after it, and no "<" between, so a hash from text to clean stretches
//   finds every occurrence a deletion removes;
// - a deletion only creates a new clean stretch right before itself (the last
//   stray "<" before it, joined with the next ">" after it);
// - a candidate examined in an earlier round is examined again only when a
//   deletion fell inside it.
class TagStripper {
public:
    // `recordQuotedMarkup` gets each examined candidate text whose quoted value
    // holds "<" or ">", as the candidate search would report it.
    TagStripper(QStringView text, std::function<void(const QString&)> recordQuotedMarkup);

    QString run();

private:
    // Sorted positions of one marker character with "still in the text" links.
    struct Markers {
        std::vector<qsizetype> pos;
        std::vector<qsizetype> nextLink; // nextLink[i]: an index >= i, alive or size()
        std::vector<qsizetype> prevLink; // prevLink[i + 1]: an index <= i, alive or -1, stored + 1

        qsizetype nextAlive(qsizetype i);
        qsizetype prevAlive(qsizetype i);
        void kill(qsizetype i);
        qsizetype indexOf(qsizetype position) const;
        // Positions of the nearest alive markers around a text position, -1 when none.
        qsizetype after(qsizetype position);
        qsizetype atOrAfter(qsizetype position);
        qsizetype before(qsizetype position);
    };

    void addMarkers();
    qsizetype nextAliveChar(qsizetype c);
    QString aliveText(qsizetype from, qsizetype to);
    void registerIfClean(qsizetype ltIndex);
    void examine(qsizetype ltIndex);
    void examineUpTo(qsizetype lastPosition);
    void deleteAll(const QString& tagText);
    void markTouched(qsizetype segmentStart);
    void markOpenRun(qsizetype ltIndex, qsizetype boundary);
    void deleteSegment(qsizetype ltIndex);
    void registerJunction(qsizetype segmentStart);

    QStringView text_;
    std::function<void(const QString&)> record_;
    std::vector<qsizetype> charLink_; // next alive character at or after i
    Markers lt_, gt_, quote_;
    std::vector<char> registered_; // per "<": known clean stretch
    std::vector<char> examined_; // per "<": examined and untouched since
    std::set<qsizetype> touched_; // "<" indexes to examine again
    qsizetype frontier_ = 0; // every alive "<" index below it has been examined
    QHash<QString, std::vector<qsizetype>> occurrences_;
    std::set<qsizetype> acceptable_; // clean stretches a search would accept, by "<" index
};
