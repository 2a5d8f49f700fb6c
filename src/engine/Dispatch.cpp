#include "engine/Dispatch.h"

#include "config/RoutineDeclTable.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"

namespace {

// Hands a routine's findings to the run's receiver, named by the routine.
class ReportedFindings : public RuleFindings {
public:
    ReportedFindings(FileRecord& state, const RunServices& run)
        : state_(state)
        , run_(run)
    {
    }
    void report(Severity severity, std::int64_t line, const QString& message, const QString& data,
        std::int32_t column) override
    {
        ReportBySeverity(state_, run_, severity, line, message, data, column);
    }
    void checkEnded(const std::exception& failure) override { NoteCheckFailure(state_, run_, failure); }

private:
    FileRecord& state_;
    const RunServices& run_;
};

void runWithContext(FileRecord& state, const RunServices& run, Routine routine)
{
    ReportedFindings findings(state, run);
    RuleContext context { state.context, state.openTags, state.openTagNames, state.wholeText,
        state.deliveredPath, state.lineStarts, state.toolkit, run.spelling, state.routineParameter,
        state.parameterSeverity, state.element(), run.tables, run.installation.config.ImagePath,
        run.installation.config.ImageFolder, state.ownFileState, state.ownRunState, run.now, findings };
    routine(context);
}

} // namespace

QString RuleContext::dataFrom(std::int32_t start) const
{
    return DataContentAt(tag, start);
}

void RunRule(FileRecord& state, const RunServices& run, const RuleEntry& rule)
{
    state.currentRoutine = rule.name;
    state.ownFileState = rule.makeFileState ? &state.ruleStates.of(rule.makeFileState) : nullptr;
    state.ownRunState = rule.makeRunState ? &run.carriedStates.of(rule.makeRunState) : nullptr;
    runWithContext(state, run, rule.run);
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

void DispatchRow(FileRecord& state, const RunServices& run, int row)
{
    if (const auto* table = run.tables.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl))
        DispatchRow(state, run, *table, row);
}

void DispatchRow(FileRecord& state, const RunServices& run, const RoutineDeclTable& table, int row)
{
    if (row < 1 || row > table.rows.size())
        return;
    const RoutineDeclRow& declared = table.rows[row - 1];
    state.elementRow = &declared.tag;
    for (const RoutineCall& call : declared.routines) {
        state.routineParameter = call.upperParameter;
        state.parameterSeverity = call.parameterSeverity;
        RunRule(state, run, *call.rule);
    }
}
