#pragma once

#include "rules/TagDashing.h"

#include <QHash>
#include <QString>
#include <QStringView>

struct RunState;

// Text the convert-to-tag and convert-to-attribute rules read around the
// current tag.

// A word is made of the characters that, upper-cased, lie in A to Z or 0 to 9.
inline bool IsWordCharacter(QChar c)
{
    const QChar upper = c.toUpper();
    return (upper >= u'A' && upper <= u'Z') || (upper >= u'0' && upper <= u'9');
}

// The content of the element that the current start tag opens, as GetPCDATA
// gives it from the tag's position: empty when the element is not closed.
QString CurrentElementContent(RunState& state);

// The dashed text from a fixed start up to a tag, for tag after tag of one
// element. The text only ever grows, so it is dashed once, and the answers
// look back from its end only as far as they depend on.
class PrecedingText {
public:
    explicit PrecedingText(qsizetype start)
        : start_(start)
        , fed_(start)
    {
    }

    qsizetype start() const { return start_; }
    qsizetype end() const { return fed_; }

    // Takes in the text up to `end` (zero-based, exclusive); `end` never
    // goes back.
    void extendTo(QStringView whole, qsizetype end);

    // Whether the expanded text, letter case ignored, stands last in the
    // dashed text: its last occurrence has no letter or digit right before
    // it and none anywhere after it. An empty text is never found.
    bool endsWithExpanded(const QString& expanded);

private:
    struct Occurrence {
        qsizetype searched = 0; // finished text searched so far
        qsizetype last = -1; // the last occurrence in it
    };
    QChar at(qsizetype index) const;

    qsizetype start_;
    qsizetype fed_;
    TagDasher dasher_;
    qsizetype wordScanned_ = 0; // finished text looked at for word characters
    qsizetype lastWord_ = -1; // the last word character in it
    QHash<QString, Occurrence> occurrences_;
};
