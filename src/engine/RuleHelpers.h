#pragma once

#include "core/Finding.h"
#include "core/TableCodes.h"

#include <QList>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <exception>
#include <vector>

struct FileRecord;
struct RunServices;
struct ValidationContext;

// Helpers that many validation routines share. They keep no state: they read
// the current ValidationContext and the open-tag list of the file's record.

// Replaces the table placeholders "[text]", "[hrt]", "[space]" and "[tab]"
// (exact case) by regular-expression fragments.
QString ExpandPatternPlaceholders(const QString& pattern);

// The tag's line from the one-based position start to its end; start 0 means
// from the tag's "<". The text stops after the characters a report entry can
// show anything of (kFindingDataLength).
QString DataContentAt(const ValidationContext& tag, std::int32_t start);
// The same for the current tag.
QString DataContentAt(const FileRecord& state, std::int32_t start);

// Hands a finding of the routine running now to the run's receiver.
void ReportBySeverity(const FileRecord& state, const RunServices& run, Severity severity,
    std::int64_t lineNumber, const QString& message, const QString& dataContent, std::int32_t extra);

// One-based line and column of the character that follows the first offset
// characters of a text whose lines start at lineStarts (split at CR LF, the
// first at 0). For offset 0 or an empty text the line is 1 and the column is
// left as the caller set it; a negative offset gives line 0.
std::int32_t LineColumnAt(
    QStringView text, const std::vector<std::int32_t>& lineStarts, std::int32_t offset, std::int32_t& column);

// A check that meets a failure (a pattern the engine rejects, a search past
// the engine's limits) ends for this file and keeps what it wrote. The
// failure is told, naming the file, the routine and the reason, and counted,
// so that the run ends with status 2 instead of looking clean; the file's
// reports say that its check did not finish, and it is not passed on. Running out of
// memory is no check's failure: callers let std::bad_alloc through.
void NoteCheckFailure(const FileRecord& state, const RunServices& run, const std::exception& failure);

// Queries of the open start tags (oldest first).
std::int32_t EnclosingOpenTagPosition(const QList<ValidationContext>& openTags);
bool IsTagOpen(const FileRecord& state, const QString& tagName);
