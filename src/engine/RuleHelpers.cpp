#include "engine/RuleHelpers.h"

#include "core/RunState.h"

#include <algorithm>
#include <stdexcept>

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

QString DataContentAt(const RunState& state, std::int32_t start)
{
    return DataContentAt(state.context, start);
}

namespace {

FindingReceiver& receiverOf(const RunState& state)
{
    // A finding with nowhere to go would leave a run that looks clean.
    if (!state.findingReceiver)
        throw std::logic_error("a finding was reported before the reports were opened");
    return *state.findingReceiver;
}

} // namespace

void ReportRuleFinding(RunState& state, const Finding& finding)
{
    receiverOf(state).fileFinding(state, finding);
}

void ReportRuleRunFinding(RunState& state, const Finding& finding)
{
    receiverOf(state).runFinding(state, finding);
}

void ReportBySeverity(RunState& state, Severity severity, std::int64_t lineNumber, const QString& message,
    const QString& dataContent, std::int32_t extra)
{
    const FindingKind kind = severity == Severity::Error ? FindingKind::Error : FindingKind::Warning;
    ReportRuleFinding(
        state, { kind, lineNumber, extra, message, dataContent, QString(state.currentRoutine) });
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

std::int32_t EnclosingOpenTagPosition(const QList<ValidationContext>& openTags)
{
    if (openTags.isEmpty() || openTags.last().tagText.isEmpty())
        return 0;
    return openTags.last().filePosition;
}

bool IsTagOpen(const RunState& state, const QString& tagName)
{
    // The scanner counts the open tags of each name beside the list, so a
    // deep or never-closed nesting is not walked for every tag.
    return state.openTagNames.contains(tagName);
}
