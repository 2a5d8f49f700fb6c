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
    void append(QStringView text);

    // The dashed text so far is finished() + pending(); nothing in finished()
    // changes any more, pending() is the text since the last ">" kept.
    const QString& finished() const { return finished_; }
    const QString& pending() const { return pending_; }
    QString result() const { return finished_ + pending_; }

private:
    struct Junction {
        qsizetype offset; // the "-" in pending_
        int time; // when the tag ending there was replaced
    };

    void closeTag(); // at a ">"
    void consume(qsizetype from, int time);
    int earliestTimeAfter(const QString& tagText, int after) const;

    QString finished_;
    QString pending_;
    std::vector<qsizetype> lts_; // every "<" in pending_, ascending
    std::vector<Junction> junctions_; // ascending offsets
    QHash<QString, std::vector<int>> replaced_; // tag text -> times it was replaced, ascending
    std::set<qsizetype> lengths_; // lengths of the tag texts in replaced_
    int clock_ = 0;
};

// The dashed form of a whole text.
QString DashTags(QStringView text);
