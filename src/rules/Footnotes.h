#pragma once

#include <QString>
#include <QStringView>

struct RuleContext;

// A footnote whose reference mark became its fnref attribute must not keep
// the mark among the first two words of its text.
void UNDELFNREF(RuleContext& rule);

// The footnote text the word test reads: every tag text met from left to
// right becomes "-" wherever it occurs.
QString TagsAsSeparators(const QString& content);

// Whether the upper-cased reference value stands as one of the first two
// words of the footnote text, tags read as separators.
bool FootnoteMarkInFirstTwoWords(QStringView content, const QString& upperReference);
// The same for the footnote whose start tag is the current tag.
bool FootnoteMarkInFirstTwoWords(const RuleContext& rule, const QString& upperReference);
