#include "engine/RuleHelpers.h"

#include "core/FileRecord.h"
#include "core/RunServices.h"
#include "core/SharedText.h"

#include <algorithm>

QString ExpandPatternPlaceholders(const QString& pattern)
{
    QString expanded = pattern;
    expanded.replace(QStringLiteral("[text]"), QStringLiteral("((\\S|\\s)*)"));
    expanded.replace(QStringLiteral("[hrt]"), QStringLiteral("(\\r\\n)"));
    expanded.replace(QStringLiteral("[space]"), QStringLiteral("( )"));
    expanded.replace(QStringLiteral("[tab]"), QStringLiteral("(\\t)"));
    return expanded;
}

QString DataContentAt(const ValidationContext& tag, std::int32_t start)
{
    const QString& line = tag.lineText;
    const std::int32_t from = start != 0 ? start : tag.linePosition;
    // Positions before the first character read from the line's start rather than failing.
    const qsizetype index = std::max<qsizetype>(from, 1) - 1;
    // Only what a report entry can show is taken: a line of megabytes with a
    // finding every few tags is not copied whole for each of them.
    return index >= line.size() ? QString()
                                : line.sliced(index, std::min(line.size() - index, kFindingDataLength));
}

QString DataContentAt(const FileRecord& state, std::int32_t start)
{
    return DataContentAt(state.context, start);
}

void ReportBySeverity(const FileRecord& state, const RunServices& run, Severity severity,
    std::int64_t lineNumber, const QString& message, const QString& dataContent, std::int32_t extra)
{
    const FindingKind kind = severity == Severity::Error ? FindingKind::Error : FindingKind::Warning;
    // A finding outlives the document: a text that reads it, such as a tag's
    // text passed on as it is, is copied.
    const auto kept = [&](const QString& text) {
        return ReadsText(text, state.wholeText) ? QStringView(text).toString() : text;
    };
    run.findings.fileFinding(
        { kind, lineNumber, extra, kept(message), kept(dataContent), QString(state.currentRoutine) });
}

std::int32_t LineColumnAt(
    QStringView text, const std::vector<std::int32_t>& lineStarts, std::int32_t offset, std::int32_t& column)
{
    // A negative length is the one failure here: it gives line 0 and leaves the column alone.
    if (offset < 0)
        return 0;
    const qsizetype end = std::min<qsizetype>(offset, text.size());
    if (end == 0 || lineStarts.empty())
        return 1;
    const auto after = std::upper_bound(lineStarts.begin(), lineStarts.end(), end);
    column = std::int32_t(end - *(after - 1) + 1);
    return std::int32_t(after - lineStarts.begin());
}

void NoteCheckFailure(const FileRecord& state, const RunServices& run, const std::exception& failure)
{
    run.findings.checkEnded(
        state.currentRoutine.isEmpty() ? QStringLiteral("a check") : QString(state.currentRoutine),
        QString::fromUtf8(failure.what()));
}

std::int32_t EnclosingOpenTagPosition(const QList<ValidationContext>& openTags)
{
    if (openTags.isEmpty() || openTags.last().tagText.isEmpty())
        return 0;
    return openTags.last().filePosition;
}

bool IsTagOpen(const FileRecord& state, const QString& tagName)
{
    // The scanner counts the open tags of each name beside the list, so a
    // deep or never-closed nesting is not walked for every tag.
    return state.openTagNames.holds(state.toolkit.knownNameId(tagName));
}
