#pragma once

#include "rules/ConversionText.h"

#include <QString>

// Plain readings of the conversion rules' text handling, kept only to check
// the incremental versions against.
namespace Literal {

// Takes the first "<" left and the first ">" after it, replaces every
// occurrence of that tag text by "-", and goes on from there.
inline QString DashTags(QString text)
{
    qsizetype from = 0;
    for (;;) {
        const qsizetype open = text.indexOf(u'<', from);
        if (open < 0)
            break;
        const qsizetype close = text.indexOf(u'>', open);
        if (close < 0)
            break;
        text.replace(text.mid(open, close - open + 1), QStringLiteral("-"));
        from = open;
    }
    return text;
}

// The before check of the convert-to-attribute rule over the text before the
// tag: the last occurrence, the character before it, everything after it.
inline bool ExpandedTextStandsLast(const QString& preceding, const QString& expanded)
{
    const QString text = DashTags(preceding);
    if (expanded.isEmpty())
        return false;
    const qsizetype pos = text.lastIndexOf(expanded, -1, Qt::CaseInsensitive);
    if (pos < 0)
        return false;
    if (pos > 0 && IsWordCharacter(text[pos - 1]))
        return false;
    for (qsizetype i = text.size() - 1; i >= pos + expanded.size(); --i) {
        if (IsWordCharacter(text[i]))
            return false;
    }
    return true;
}

// The after check of the convert-to-tag rule over a copy of the content:
// every occurrence, letter case ignored, until one has no letter or digit
// on either side.
inline bool ContainsWholeWord(const QString& content, const QString& word)
{
    if (word.isEmpty())
        return false;
    for (qsizetype at = 0; at + word.size() <= content.size(); ++at) {
        if (content.mid(at, word.size()).compare(word, Qt::CaseInsensitive) != 0)
            continue;
        const bool clearBefore = at == 0 || !IsWordCharacter(content[at - 1]);
        const bool clearAfter
            = at + word.size() == content.size() || !IsWordCharacter(content[at + word.size()]);
        if (clearBefore && clearAfter)
            return true;
    }
    return false;
}

// The last word of the dashed text: the run of letters and digits at its end.
inline QString LastWord(const QString& preceding)
{
    const QString text = DashTags(preceding);
    QString word;
    for (qsizetype i = text.size() - 1; i >= 0 && IsWordCharacter(text[i]); --i)
        word.prepend(text[i]);
    return word;
}

} // namespace Literal
