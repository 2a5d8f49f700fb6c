#include "engine/RuleHelpers.h"

#include "core/RunState.h"
#include "engine/RegExp.h"
#include "report/ReportFormat.h"
#include "report/Reports.h"

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

bool MatchesPattern(const QString& text, const QString& pattern)
{
    const RegExp expression(ExpandPatternPlaceholders(pattern), true, true);
    return expression.test(text);
}

QString DataContentAt(const RunState& state, std::int32_t start)
{
    const QString& line = state.context.lineText;
    const std::int32_t from = start != 0 ? start : state.context.linePosition;
    // Positions before the first character read from the line's start rather than failing.
    const qsizetype index = std::max<qsizetype>(from, 1) - 1;
    // Only what a report entry can show is taken: a line of megabytes with a
    // finding every few tags is not copied whole for each of them.
    return index >= line.size()
        ? QString()
        : line.sliced(index, std::min(line.size() - index, ReportFormat::kDataSourceLength));
}

void ReportBySeverity(RunState& state, QStringView severity, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t extra)
{
    if (severity.compare(u"E", Qt::CaseInsensitive) == 0)
        WriteErrorEntry(state, lineNumber, message, dataContent, extra);
    else
        WriteWarningEntry(state, lineNumber, message, dataContent, extra);
}

namespace {

const QString kLineBreak = QStringLiteral("\r\n");

} // namespace

std::int32_t OffsetToLineColumn(QStringView text, std::int32_t offset, std::int32_t& column)
{
    LineColumnCursor cursor(text);
    return cursor.lineColumnAt(offset, column);
}

std::int32_t LineColumnCursor::lineColumnAt(std::int32_t offset, std::int32_t& column)
{
    // A negative length is the one failure here: it gives line 0 and leaves the column alone.
    if (offset < 0)
        return 0;
    const qsizetype end = std::min<qsizetype>(offset, text_.size());
    if (end == 0)
        return 1;
    if (lineStarts_ && !lineStarts_->empty()) {
        const auto after = std::upper_bound(lineStarts_->begin(), lineStarts_->end(), end);
        column = std::int32_t(end - *(after - 1) + 1);
        return std::int32_t(after - lineStarts_->begin());
    }
    if (end < scanned_) {
        scanned_ = 0;
        breaks_ = 0;
        lastLineStart_ = 0;
    }
    // A pair cut by the previous prefix starts one character before it.
    const QStringView prefix = text_.first(end);
    for (qsizetype at = prefix.indexOf(kLineBreak, std::max<qsizetype>(scanned_ - 1, 0)); at >= 0;
         at = prefix.indexOf(kLineBreak, at + 2)) {
        ++breaks_;
        lastLineStart_ = at + 2;
    }
    scanned_ = end;
    column = std::int32_t(end - lastLineStart_ + 1);
    return breaks_ + 1;
}

void NoteCheckFailure(RunState& state, const std::exception& failure)
{
    ++state.checkFailures;
    const QString routine
        = state.currentRoutine.isEmpty() ? QStringLiteral("a check") : QString(state.currentRoutine);
    const QString reason = QString::fromUtf8(failure.what());
    state.ui.diagnostic(
        QStringLiteral("%1: %2 ended early: %3")
            .arg(state.inputFileName.isEmpty() ? state.inputPath : state.inputFileName, routine, reason));
    // The file's reports say it too, and the file counts as failed.
    state.report.checkNotFinished.append(routine + QStringLiteral(": ") + reason);
}

QString EnclosingOpenTag(const RunState& state)
{
    return OpenTagAbove(state, 0);
}

QString OpenTagAbove(const RunState& state, std::int32_t levels)
{
    const qsizetype index = state.openTags.size() - levels - 1;
    // A negative level would reach past the innermost tag: there is nothing there.
    if (levels < 0 || index < 0)
        return QString();
    return state.openTags[index].tagText;
}

std::int32_t EnclosingOpenTagPosition(const RunState& state)
{
    if (state.openTags.isEmpty() || state.openTags.last().tagText.isEmpty())
        return 0;
    return state.openTags.last().filePosition;
}

bool IsTagOpen(const RunState& state, const QString& tagName)
{
    // The scanner counts the open tags of each name beside the list, so a
    // deep or never-closed nesting is not walked for every tag.
    return state.openTagNames.contains(tagName);
}
