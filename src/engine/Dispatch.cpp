#include "engine/Dispatch.h"

#include "config/RoutineDeclTable.h"
#include "core/RunState.h"

void RunRule(RunState& state, const RuleEntry& rule)
{
    state.currentRoutine = rule.name;
    state.ownFileState = rule.makeFileState ? &state.ruleStates.of(rule.makeFileState) : nullptr;
    rule.run(state);
    state.currentRoutine = {};
    state.ownFileState = nullptr;
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
