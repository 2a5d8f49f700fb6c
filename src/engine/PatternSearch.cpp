#include "engine/PatternSearch.h"

PatternSearchResult SearchPattern(const RegExp& expression, QStringView text, bool wholeText)
{
    RegExp global = expression; // shares the compiled pattern
    global.setGlobal(true);
    PatternSearchResult result;
    for (const RegExpMatch& match : global.execute(text)) {
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
