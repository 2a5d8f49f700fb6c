#include "engine/Dispatch.h"

#include "app/RunState.h"
#include "config/RoutineDeclTable.h"
#include "rules/Routines.h"

const QList<RoutineEntry>& RoutineTable()
{
    using namespace Qt::Literals::StringLiterals;
    static const QList<RoutineEntry> table = {
        { "TEXTVALIDITY"_L1, TEXTVALIDITY },
        { "IMGNAMEARTIDEQUALITY"_L1, IMGNAMEARTIDEQUALITY },
        { "IMGNAMELENGTHEQUALITY"_L1, IMGNAMELENGTHEQUALITY },
        { "NOHRT"_L1, NOHRT },
        { "WITHHRT"_L1, WITHHRT },
        { "HYPHENATEDWORDCHECK"_L1, HYPHENATEDWORDCHECK },
        { "COMPOUNDWORDCHECK"_L1, COMPOUNDWORDCHECK },
        { "UNCONENTITIES"_L1, UNCONENTITIES },
        { "CONVERT2TAG"_L1, CONVERT2TAG },
        { "NOLEADZERO"_L1, NOLEADZERO },
        { "ATTRIBUNCONENTITY"_L1, ATTRIBUNCONENTITY },
        { "ATTRIBRANGEVALIDITY"_L1, ATTRIBRANGEVALIDITY },
        { "ATTRIBNUMBERVALIDITY"_L1, ATTRIBNUMBERVALIDITY },
        { "CONVERT2ATTRIB"_L1, CONVERT2ATTRIB },
        { "UNDELFNREF"_L1, UNDELFNREF },
        { "CITATIONVALIDITY"_L1, CITATIONVALIDITY },
        { "COMPCONT"_L1, COMPCONT },
        { "CHECKPAIRVALIDITY"_L1, CHECKPAIRVALIDITY },
        { "CHECKPAIRCONTVALIDITY"_L1, CHECKPAIRCONTVALIDITY },
        { "CHECKCOUNTREFVALIDITY"_L1, CHECKCOUNTREFVALIDITY },
        { "PCPDATACOMPARE"_L1, PCPDATACOMPARE },
    };
    return table;
}

bool IsRoutineName(const QString& upperName)
{
    for (const RoutineEntry& entry : RoutineTable()) {
        if (entry.name == upperName)
            return true;
    }
    return false;
}

void DispatchRow(RunState& state, int row)
{
    DispatchRow(state, row, RoutineTable());
}

void DispatchRow(RunState& state, int row, const QList<RoutineEntry>& routines)
{
    const auto* table = state.config.ActiveTableSet.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl);
    if (!table || row < 1 || row > table->rows.size())
        return;
    const RoutineDeclRow& declared = table->rows[row - 1];
    state.contextElement = declared.tag;
    for (const RoutineCall& call : declared.routines) {
        state.routineParameter = call.upperParameter;
        for (const RoutineEntry& entry : routines) {
            if (entry.name == call.upperName) {
                entry.run(state);
                break;
            }
        }
    }
}
