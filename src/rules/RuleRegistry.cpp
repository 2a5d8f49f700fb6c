#include "rules/RuleRegistry.h"

#include "config/RoutineDeclTable.h"
#include "rules/AttributeValues.h"
#include "rules/CharacterPatterns.h"
#include "rules/ConvertToAttribute.h"
#include "rules/ConvertToTag.h"
#include "rules/Footnotes.h"
#include "rules/HardReturns.h"
#include "rules/HyphenatedWords.h"
#include "rules/PendingRoutines.h"
#include "rules/TextValidity.h"
#include "rules/UnconvertedEntities.h"

using namespace Qt::Literals::StringLiterals;
using enum SupportFile;

namespace {

// Tables of rules that are not written yet are read as plain lines, so that
// an unreadable file still stops the run at start-up.
template <SupportFile Which> constexpr RuleEntry pending(QLatin1StringView name, RuleFunction run)
{
    return { name, run, Which, LoadLinesTable<Which> };
}

RuleBook makeRules()
{
    RuleBook book;
    // The order in which the dispatcher compares a declared name.
    book.routines = {
        { "TEXTVALIDITY"_L1, TEXTVALIDITY, TextValidityTbl, LoadTextValidityTable, {},
            MakeTextValidityFileState },
        pending<ImageValidationTbl>("IMGNAMEARTIDEQUALITY"_L1, IMGNAMEARTIDEQUALITY),
        pending<ImageValidationTbl>("IMGNAMELENGTHEQUALITY"_L1, IMGNAMELENGTHEQUALITY),
        { "NOHRT"_L1, NOHRT, NoHRTDeclTbl, LoadNoHrtTable },
        { "WITHHRT"_L1, WITHHRT, WithHRTDeclTbl, LoadWithHrtTable },
        // The two word checks share the element text they search.
        { "HYPHENATEDWORDCHECK"_L1, HYPHENATEDWORDCHECK, HyphenatedTbl, LoadHyphenatedTable, {},
            MakeWordCheckFileState },
        { "COMPOUNDWORDCHECK"_L1, COMPOUNDWORDCHECK, HyphenatedTbl, LoadHyphenatedTable, {},
            MakeWordCheckFileState },
        { "UNCONENTITIES"_L1, UNCONENTITIES, UnConEntitiesTbl, LoadUnconEntitiesTable, {},
            MakeUnconEntitiesFileState },
        { "CONVERT2TAG"_L1, CONVERT2TAG, Convert2TagTbl, LoadConvert2TagTable },
        { "NOLEADZERO"_L1, NOLEADZERO, NoLeadZeroTbl, LoadNoLeadZeroTable },
        { "ATTRIBUNCONENTITY"_L1, ATTRIBUNCONENTITY, AttribUnconTbl, LoadAttribUnconTable },
        { "ATTRIBRANGEVALIDITY"_L1, ATTRIBRANGEVALIDITY },
        { "ATTRIBNUMBERVALIDITY"_L1, ATTRIBNUMBERVALIDITY },
        { "CONVERT2ATTRIB"_L1, CONVERT2ATTRIB, Convert2AttribTbl, LoadConvert2AttribTable, {},
            MakeConvert2AttribFileState },
        { "UNDELFNREF"_L1, UNDELFNREF },
        pending<CitationValTbl>("CITATIONVALIDITY"_L1, CITATIONVALIDITY),
        pending<CompContTbl>("COMPCONT"_L1, COMPCONT),
        pending<CheckPairTbl>("CHECKPAIRVALIDITY"_L1, CHECKPAIRVALIDITY),
        pending<CheckPairContTbl>("CHECKPAIRCONTVALIDITY"_L1, CHECKPAIRCONTVALIDITY),
        pending<CountRefCheck>("CHECKCOUNTREFVALIDITY"_L1, CHECKCOUNTREFVALIDITY),
        pending<PCPDataCompare>("PCPDATACOMPARE"_L1, PCPDATACOMPARE),
    };
    // The order in which they run, once per file before the line scan.
    book.wholeFileChecks = {
        // Off unless CHECKMULTIHRT says TRUE.
        { "CheckMultipleHardReturns"_L1, CheckMultipleHardReturns, {}, nullptr,
            { &TableSet::CheckMultiHrt, "CHECKMULTIHRT"_L1, false } },
        // On unless their switch says FALSE.
        { "CheckSpecialCharacters"_L1, CheckSpecialCharacters, SpecialCharTbl, LoadSpecialCharTable,
            { &TableSet::CheckSpecialChar, "CHECKSPECIALCHAR"_L1, true } },
        { "CheckFileName"_L1, CheckFileName, FilenameCheck, LoadLinesTable<FilenameCheck>,
            { &TableSet::CheckFilename, "CHECKFILENAME"_L1, true } },
        pending<ImageValidationTbl>("CheckImageValidation"_L1, CheckImageValidation),
    };
    return book;
}

bool loadRoutineDeclarations(RunState& state, TableSet& set)
{
    return LoadRoutineDeclTable(state, set, RoutineNamed);
}

TableLoader loaderOf(SupportFile file)
{
    if (file == RoutineDeclTbl)
        return loadRoutineDeclarations;
    for (const QList<RuleEntry>* rules : { &Rules().routines, &Rules().wholeFileChecks }) {
        for (const RuleEntry& rule : *rules) {
            if (rule.table == file && rule.load)
                return rule.load;
        }
    }
    return nullptr;
}

} // namespace

const RuleBook& Rules()
{
    static const RuleBook book = makeRules();
    return book;
}

const RuleEntry* RoutineNamed(const QString& upperName)
{
    return FindRoutine(Rules(), upperName);
}

QList<TableLoaderEntry> SupportTableLoaders()
{
    QList<TableLoaderEntry> loaders;
    for (const SupportFile file : kTableLoadingOrder) {
        if (const TableLoader load = loaderOf(file))
            loaders.append({ file, load });
    }
    return loaders;
}
