#include "engine/PatternSearch.h"

QList<RegExpMatch> SearchMatches(const RegExp& expression, QStringView text)
{
    // A global expression is searched as it is, so that the pattern it has
    // compiled stays with it for the next search.
    if (expression.global())
        return expression.execute(text);
    RegExp global = expression;
    global.setGlobal(true);
    return global.execute(text);
}

PatternSearchResult SearchPattern(const RegExp& expression, QStringView text, bool wholeText)
{
    PatternSearchResult result;
    for (const RegExpMatch& match : SearchMatches(expression, text)) {
        if (wholeText && match.length != text.size())
            return {};
        ++result.count;
        result.captureList
            += (match.submatches.isEmpty() ? QString() : match.submatches.front()) + kValueSeparator;
        result.matchList += match.value + kValueSeparator;
    }
    return result;
}

PatternSearchResult SearchPattern(const QString& pattern, QStringView text, bool ignoreCase, bool wholeText)
{
    return SearchPattern(RegExp(pattern, true, ignoreCase), text, wholeText);
}

QStringList SplitValueList(const QString& list)
{
    return list.split(kValueSeparator);
}
