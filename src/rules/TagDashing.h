#pragma once

#include <QHash>
#include <QString>
#include <QStringView>
#include <set>
#include <utility>
#include <vector>

// Turns every tag of a text into "-": the first "<" left takes the first ">"
// after it, and every occurrence of that tag text, here or further on, becomes
// "-"; then the next "<" left is taken, and so on, until a "<" has no ">"
// after it.
//
// Replacing all occurrences at once would cost a pass over the rest of the
// text per distinct tag. This class reads the text once, left to right, and
// decides at each ">" what the repeated replacing would have done to it:
// either an earlier tag text ends there and was already present when that
// text was replaced, or the first "<" still waiting takes it now. Text can
// be fed in pieces, so a growing prefix costs one pass in all.
class TagDasher {
public:
    TagDasher() = default;
    // The look-up keys view texts the dasher owns: no copies.
    TagDasher(const TagDasher&) = delete;
    TagDasher& operator=(const TagDasher&) = delete;

    void append(QStringView text);

    // The dashed text so far is finished() + pending(); nothing in finished()
    // changes any more, pending() is the text since the last ">" kept.
    const QString& finished() const { return finished_; }
    const QString& pending() const { return pending_; }
    QString result() const { return finished_ + pending_; }

    // A reader that has taken in the finished text may let all but its last
    // `keep` characters go; finishedOffset() then tells where finished()
    // starts in the whole dashed text.
    // It lets go only once `slack` more characters have gathered, so that
    // moving the kept ones costs less than what is let go.
    void forgetFinished(qsizetype keep, qsizetype slack)
    {
        if (finished_.size() <= keep + slack)
            return;
        forgotten_ += finished_.size() - keep;
        finished_.remove(0, finished_.size() - keep);
    }
    qsizetype finishedOffset() const { return forgotten_; }

private:
    struct Junction {
        qsizetype offset; // the "-" in pending_
        int time; // when the tag ending there was replaced
    };

    void closeTag(); // at a ">"
    void leaveCleanMode();
    void consume(qsizetype from, int time);
    int earliestTimeAfter(QStringView tagText, int after) const;

    QString finished_;
    qsizetype forgotten_ = 0;
    QString pending_;
    std::vector<qsizetype> lts_; // every "<" in pending_, ascending
    std::vector<Junction> junctions_; // ascending offsets
    // Tag texts without their closing ">" -> the times they were replaced,
    // ascending. The keys view texts kept in replacedTexts_, so that a look-up
    // straight from the pending text needs no copy.
    QHash<QStringView, std::vector<int>> replaced_;
    std::vector<QString> replacedTexts_; // a moved QString keeps its characters in place
    std::set<qsizetype> lengths_; // lengths of those texts
    // Until a second "<" waits at a ">", every ">" simply ends the tag of
    // the one "<" waiting, and the tag texts are only noted here in order;
    // the look-up table is built from them when it is first needed.
    bool clean_ = true;
    QString cleanTexts_;
    std::vector<std::pair<qsizetype, qsizetype>> cleanSpans_; // offset and length in cleanTexts_
    int clock_ = 0;
};

// The dashed form of a whole text.
QString DashTags(QStringView text);
