#include "engine/Dispatch.h"

#include "config/RoutineDeclTable.h"
#include "core/RunState.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"

namespace {

// Hands a routine's findings to the run's reports.
class ReportedFindings : public RuleFindings {
public:
    explicit ReportedFindings(RunState& state)
        : state_(state)
    {
    }
    void report(Severity severity, std::int64_t line, const QString& message, const QString& data,
        std::int32_t column) override
    {
        ReportBySeverity(state_, severity, line, message, data, column);
    }
    void checkEnded(const std::exception& failure) override { NoteCheckFailure(state_, failure); }

private:
    RunState& state_;
};

void runWithContext(RunState& state, Routine routine)
{
    ReportedFindings findings(state);
    // A file a before-program made is checked in place of the one delivered;
    // the rules speak of the delivered one.
    const QString& delivered = state.currentInputPath.isEmpty() ? state.inputPath : state.currentInputPath;
    RuleContext context { state.context, state.openTags, state.openTagNames, state.wholeText, delivered,
        state.lineStarts, state.toolkit, state.spelling, state.routineParameter, state.parameterSeverity,
        state.contextElement, state.config.ActiveTableSet, state.config, state.imageCallouts,
        state.ownFileState, state.ownRunState, state.report.now, findings };
    routine(context);
}

} // namespace

QString RuleContext::dataFrom(std::int32_t start) const
{
    return DataContentAt(tag, start);
}

void RunRule(RunState& state, const RuleEntry& rule)
{
    state.currentRoutine = rule.name;
    state.ownFileState = rule.makeFileState ? &state.ruleStates.of(rule.makeFileState) : nullptr;
    state.ownRunState = rule.makeRunState ? &state.carriedStates.of(rule.makeRunState) : nullptr;
    runWithContext(state, rule.run);
    state.currentRoutine = {};
    state.ownFileState = nullptr;
    state.ownRunState = nullptr;
}

bool SwitchedOn(const RuleEntry& rule, const TableSet& settings)
{
    if (!rule.gate.field)
        return true;
    const Switch value = settings.*rule.gate.field;
    return value == Switch::On || (value == Switch::Unset && rule.gate.onWhenUnset);
}

const RuleEntry* FindRoutine(const RuleBook& rules, const QString& upperName)
{
    for (const RuleEntry& entry : rules.routines) {
        if (entry.name == upperName)
            return &entry;
    }
    return nullptr;
}

void DispatchRow(RunState& state, int row)
{
    const auto* table = state.config.ActiveTableSet.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl);
    if (!table || row < 1 || row > table->rows.size())
        return;
    const RoutineDeclRow& declared = table->rows[row - 1];
    // Tag after tag hands the same row values again: sharing them is a
    // reference count, not assigning them is nothing.
    if (!state.contextElement.isSharedWith(declared.tag))
        state.contextElement = declared.tag;
    for (const RoutineCall& call : declared.routines) {
        state.routineParameter = call.upperParameter;
        state.parameterSeverity = call.parameterSeverity;
        RunRule(state, *call.rule);
    }
}
