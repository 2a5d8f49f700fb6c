#pragma once

#include "core/RuleFileState.h"
#include "core/TableSet.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <cstdint>

struct ConfigurationLoading;
struct RuleContext;
struct SpellingState;

// The accepted hyphenated words: one entry a line, kept as read (untrimmed),
// so an entry with trailing blanks never matches.
struct HyphenatedTable : SupportTable {
    QStringList entries;
    QSet<QString> upperEntries; // the entries upper-cased, for the comparison

    bool accepts(const QString& word) const { return upperEntries.contains(word.toUpper()); }
};

bool LoadHyphenatedTable(const ConfigurationLoading& loading, TableSet& set);

// The file state both word checks share: the text of the element last checked.
std::unique_ptr<RuleFileState> MakeWordCheckFileState();

enum class HyphenAt : int { LineEnd = 1, InLine = 2 };

// The word around the hyphen at the one-based position: the letters and
// digits before it, the hyphen, and the letters and digits after the line
// break (LineEnd) or after the hyphen and any further hyphens (InLine). Empty
// when the word without its hyphens is a number, or when an in-line hyphen has
// nothing after it.
QString ExtractHyphenatedWord(const QString& text, std::int32_t hyphenPosition, HyphenAt mode);

// What the engine says of a word: whether it reports it, and then its
// suggestions (at most two), joined by ", ".
struct SpellingVerdict {
    bool misspelt = false;
    QString suggestions;
};

SpellingVerdict SpellCheckWord(SpellingState& spelling, const QString& word);

// Line-end hyphenations in the element's text that should have been joined.
void HYPHENATEDWORDCHECK(RuleContext& rule);
// Hyphenated compounds inside the lines of the element's text.
void COMPOUNDWORDCHECK(RuleContext& rule);
