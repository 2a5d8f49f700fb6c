#pragma once

#include <QString>

struct RunState;

// A footnote whose reference mark became its fnref attribute must not keep
// the mark among the first two words of its text.
void UNDELFNREF(RunState& state);

// The footnote text the word test reads: every tag text met from left to
// right becomes "-" wherever it occurs.
QString TagsAsSeparators(const QString& content);
