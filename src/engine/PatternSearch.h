#pragma once

#include "engine/RegExp.h"

#include <QString>
#include <QStringList>
#include <QStringView>
#include <cstdint>

// What one global search found. Both lists are single texts in which every
// item is followed by kValueSeparator, the last one too, so that routines can
// keep, join or take them apart as plain text.
struct PatternSearchResult {
    std::int32_t count = 0;
    QString captureList; // group 1 of every match, in match order ("" when the group took no part)
    QString matchList; // the whole text of every match, in match order
};

inline const QString kValueSeparator = QStringLiteral("[%]");

// Searches the text for every match of the expression, left to right and not
// overlapping, whatever the expression's own global switch says. With
// wholeText on, only a pattern that matches the whole text counts: as soon
// as one match is shorter than the text, the answer is a count of 0 with
// both lists empty. Throws PatternError as RegExp does.
PatternSearchResult SearchPattern(const RegExp& expression, QStringView text, bool wholeText = false);
PatternSearchResult SearchPattern(
    const QString& pattern, QStringView text, bool ignoreCase, bool wholeText = false);

// Every match of the expression, left to right and not overlapping, whatever
// its own global switch says.
QList<RegExpMatch> SearchMatches(const RegExp& expression, QStringView text);

// The items of a capture or match list. The separator after the last item
// leaves one empty item at the end, as splitting the text at every separator
// does; routines skip empty items anyway.
QStringList SplitValueList(const QString& list);
