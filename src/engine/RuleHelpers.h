#pragma once

#include <QString>
#include <QStringView>
#include <cstdint>
#include <exception>
#include <vector>

struct RunState;

// Helpers that many validation routines share. They keep no state: they read
// the current ValidationContext and the open-tag list of the run state.

// Replaces the table placeholders "[text]", "[hrt]", "[space]" and "[tab]"
// (exact case) by regular-expression fragments.
QString ExpandPatternPlaceholders(const QString& pattern);

// Whether the pattern, placeholders expanded, occurs anywhere in the text,
// ignoring letter case. Throws PatternError for a pattern the engine rejects.
bool MatchesPattern(const QString& text, const QString& pattern);

// The current line's text from the one-based position start to its end; start
// 0 means from the current tag's "<". The text stops after the characters a
// report entry can show anything of (ReportFormat::kDataSourceLength).
QString DataContentAt(const RunState& state, std::int32_t start);

// Writes an error entry when the severity is "E" (any case), else a warning entry.
void ReportBySeverity(RunState& state, QStringView severity, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t extra);

// One-based line and column of the character that follows the first offset
// characters of the text; lines end at CR LF. For offset 0 or an empty text
// the line is 1 and column is left as the caller set it.
std::int32_t OffsetToLineColumn(QStringView text, std::int32_t offset, std::int32_t& column);

// The same answers as OffsetToLineColumn for many offsets into one text,
// without scanning the text again from its start when offsets ascend.
class LineColumnCursor {
public:
    // With the start offset of every line of the text (lines split at CR
    // LF, the first at 0), answers come from them by a binary search, in any
    // order of offsets.
    explicit LineColumnCursor(QStringView text, const std::vector<std::int32_t>* lineStarts = nullptr)
        : text_(text)
        , lineStarts_(lineStarts)
    {
    }
    std::int32_t lineColumnAt(std::int32_t offset, std::int32_t& column);

private:
    QStringView text_;
    const std::vector<std::int32_t>* lineStarts_;
    qsizetype scanned_ = 0; // length of the prefix whose line breaks are counted
    std::int32_t breaks_ = 0; // CR LF pairs inside that prefix
    qsizetype lastLineStart_ = 0; // offset just after the last of them
};

// A check that meets a failure (a pattern the engine rejects, a search past
// the engine's limits) ends for this file and keeps what it wrote. The
// failure is told, naming the file, the routine and the reason, and counted,
// so that the run ends with status 2 instead of looking clean; the file's
// reports say that its check did not finish, and it is not passed on. Running out of
// memory is no check's failure: callers let std::bad_alloc through.
void NoteCheckFailure(RunState& state, const std::exception& failure);

// Queries of the open start tags (oldest first).
QString EnclosingOpenTag(const RunState& state);
QString OpenTagAbove(const RunState& state, std::int32_t levels);
std::int32_t EnclosingOpenTagPosition(const RunState& state);
bool IsTagOpen(const RunState& state, const QString& tagName);
