#include "engine/Dispatch.h"

#include "config/RoutineDeclTable.h"
#include "core/RunState.h"

void RunRule(RunState& state, const RuleEntry& rule)
{
    state.currentRoutine = rule.name;
    rule.run(state);
    state.currentRoutine = {};
}

void DispatchRow(RunState& state, int row, const RuleBook& rules)
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
        for (const RuleEntry& entry : rules.routines) {
            // Most names differ in length: that settles them without a text comparison.
            if (entry.name.size() == call.upperName.size() && entry.name == call.upperName) {
                RunRule(state, entry);
                break;
            }
        }
    }
}
