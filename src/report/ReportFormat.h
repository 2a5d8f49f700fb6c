#pragma once

#include "core/Finding.h"
#include "core/ReportState.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <cstdint>

// The texts of the report files: entry lines, headers and times. Pure
// functions, so the layouts can be checked without touching a file.
namespace ReportFormat {

enum class EntryKind { Error, Warning };

// Every form one entry takes. Lines kept in memory end with CR LF; the report
// line does not (the writer adds the line end).
struct EntryTexts {
    QString reportLine;
    QString plainLine;
    QString columnLine;
    WarningRecord record;
};

// A number zero-padded to at least `digits` digits; a minus sign goes in front.
QString padded(std::int64_t value, int digits);

// CR LF shown as "...", then cut to 250 characters.
QString preparedData(const QString& data);
// The same for outputs that other programs parse: a character the cut would
// split in half (a surrogate pair) is left out whole.
QString preparedDataWholeCharacters(const QString& data);
// The text with every lone surrogate written as U+FFFD, so that it has a
// UTF-8 form; well-formed text comes back unchanged.
QString wellFormedText(const QString& text);

// How much of a finding's data an entry can show anything of.
constexpr qsizetype kDataSourceLength = kFindingDataLength;

EntryTexts formatEntry(EntryKind kind, std::int64_t lineNumber, const QString& message, const QString& data,
    std::int32_t column, bool columnMode);

QStringList reportHeader(const QString& baseName, EntryKind kind, bool columnMode);
// The rule line of the error-view log: 137 "=".
QString errorViewRule();
QStringList errorViewHeader(const QString& inputPath, bool columnMode);

// "hh:mm:ss AM/PM" on a 12-hour clock.
QString clockTime(const QDateTime& moment);
// "mm/dd/yy hh:mm:ss AM/PM".
QString logDateTime(const QDateTime& moment);

} // namespace ReportFormat
