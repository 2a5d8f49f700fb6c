#include "rules/RuleRegistry.h"

#include "config/RoutineDeclTable.h"
#include "rules/AttributeValues.h"
#include "rules/CharacterPatterns.h"
#include "rules/ContentComparison.h"
#include "rules/ConvertToAttribute.h"
#include "rules/ConvertToTag.h"
#include "rules/CrossReferences.h"
#include "rules/FileNameCheck.h"
#include "rules/Footnotes.h"
#include "rules/HardReturns.h"
#include "rules/HyphenatedWords.h"
#include "rules/ImageChecks.h"
#include "rules/ImageNames.h"
#include "rules/Pairs.h"
#include "rules/TextValidity.h"
#include "rules/UnconvertedEntities.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using enum SupportFile;

namespace {

RuleBook makeRules()
{
    RuleBook book;
    // The order in which the dispatcher compares a declared name.
    book.routines = {
        { "TEXTVALIDITY"_L1, TEXTVALIDITY, TextValidityTbl, LoadTextValidityTable, {},
            MakeTextValidityFileState, MakeTextValidityRunState },
        // The image routines and the whole-file image check share the file's callouts.
        { "IMGNAMEARTIDEQUALITY"_L1, IMGNAMEARTIDEQUALITY, ImageValidationTbl, LoadImageValidationTable, {},
            MakeImageFileState },
        { "IMGNAMELENGTHEQUALITY"_L1, IMGNAMELENGTHEQUALITY, ImageValidationTbl, LoadImageValidationTable, {},
            MakeImageFileState },
        { "NOHRT"_L1, NOHRT, NoHRTDeclTbl, LoadNoHrtTable },
        { "WITHHRT"_L1, WITHHRT, WithHRTDeclTbl, LoadWithHrtTable },
        // The two word checks share the element text they search.
        { "HYPHENATEDWORDCHECK"_L1, HYPHENATEDWORDCHECK, HyphenatedTbl, LoadHyphenatedTable, {},
            MakeWordCheckFileState },
        { "COMPOUNDWORDCHECK"_L1, COMPOUNDWORDCHECK, HyphenatedTbl, LoadHyphenatedTable, {},
            MakeWordCheckFileState },
        { "UNCONENTITIES"_L1, UNCONENTITIES, UnConEntitiesTbl, LoadUnconEntitiesTable, {},
            MakeUnconEntitiesFileState },
        { "CONVERT2TAG"_L1, CONVERT2TAG, Convert2TagTbl, LoadConvert2TagTable, {}, MakeConvert2TagFileState },
        { "NOLEADZERO"_L1, NOLEADZERO, NoLeadZeroTbl, LoadNoLeadZeroTable },
        { "ATTRIBUNCONENTITY"_L1, ATTRIBUNCONENTITY, AttribUnconTbl, LoadAttribUnconTable },
        { "ATTRIBRANGEVALIDITY"_L1, ATTRIBRANGEVALIDITY },
        { "ATTRIBNUMBERVALIDITY"_L1, ATTRIBNUMBERVALIDITY },
        { "CONVERT2ATTRIB"_L1, CONVERT2ATTRIB, Convert2AttribTbl, LoadConvert2AttribTable, {},
            MakeConvert2AttribFileState },
        { "UNDELFNREF"_L1, UNDELFNREF },
        // Citations and the count of references keep one record of the file.
        { "CITATIONVALIDITY"_L1, CITATIONVALIDITY, CitationValTbl, LoadCitationTable, {},
            MakeCrossReferenceFileState },
        // The two comparisons keep one record of the elements they have read.
        { "COMPCONT"_L1, COMPCONT, CompContTbl, LoadCompContTable, {}, MakeComparisonFileState },
        // The pair routines share what they have read of the file.
        { "CHECKPAIRVALIDITY"_L1, CHECKPAIRVALIDITY, CheckPairTbl, LoadPairTable, {}, MakePairFileState },
        { "CHECKPAIRCONTVALIDITY"_L1, CHECKPAIRCONTVALIDITY, CheckPairContTbl, LoadPairContentTable, {},
            MakePairFileState },
        { "CHECKCOUNTREFVALIDITY"_L1, CHECKCOUNTREFVALIDITY, CountRefCheck, LoadCountRefTable, {},
            MakeCrossReferenceFileState },
        { "PCPDATACOMPARE"_L1, PCPDATACOMPARE, PCPDataCompare, LoadPcDataTable, {}, MakeComparisonFileState },
    };
    // The order in which they run, once per file before the line scan.
    book.wholeFileChecks = {
        // Off unless CHECKMULTIHRT says TRUE.
        { "CheckMultipleHardReturns"_L1, CheckMultipleHardReturns, {}, nullptr,
            { &TableSet::CheckMultiHrt, "CHECKMULTIHRT"_L1, false } },
        // On unless its switch says FALSE.
        { "CheckSpecialCharacters"_L1, CheckSpecialCharacters, SpecialCharTbl, LoadSpecialCharTable,
            { &TableSet::CheckSpecialChar, "CHECKSPECIALCHAR"_L1, true } },
        // Off unless CHECKFILENAME says TRUE: its lists would refuse the names
        // of an installation that has not written them for its files.
        { "CheckFileName"_L1, CheckFileName, FilenameCheck, LoadFileNameTable,
            { &TableSet::CheckFilename, "CHECKFILENAME"_L1, false } },
        // Its run state is the run's image list, judged after the last file.
        { "CheckImageValidation"_L1, CheckImageValidation, ImageValidationTbl, LoadImageValidationTable, {},
            MakeImageFileState, MakeImageRunState },
    };
    // Judged after the last line, from what their routines gathered; named as
    // the routine, whose findings they are. Each runs only in a file where its
    // routines made their file state.
    book.fileEndChecks = {
        { "CHECKCOUNTREFVALIDITY"_L1, ReportCountRefsAtFileEnd, {}, nullptr, {},
            MakeCrossReferenceFileState },
        { "COMPCONT"_L1, ReportCompContAtFileEnd, {}, nullptr, {}, MakeComparisonFileState },
    };
    return book;
}

bool loadRoutineDeclarations(const ConfigurationLoading& loading, TableSet& set)
{
    return LoadRoutineDeclTable(loading, set, RoutineNamed);
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

// Every maker of a carried state once, with the name of the first entry that names it.
QList<std::pair<QLatin1StringView, MakeRuleRunState>> runStateMakers()
{
    QList<std::pair<QLatin1StringView, MakeRuleRunState>> makers;
    for (const QList<RuleEntry>* rules : { &Rules().routines, &Rules().wholeFileChecks }) {
        for (const RuleEntry& rule : *rules) {
            const bool known = std::any_of(makers.cbegin(), makers.cend(),
                [&rule](const auto& maker) { return maker.second == rule.makeRunState; });
            if (rule.makeRunState && !known)
                makers.append({ rule.name, rule.makeRunState });
        }
    }
    return makers;
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

QJsonObject SavedRunStates(const RuleRunStates& carried)
{
    QJsonObject saved;
    for (const auto& [name, make] : runStateMakers()) {
        const RuleRunState* state = carried.find(make);
        const QJsonValue value = state ? state->saved() : QJsonValue();
        if (!value.isNull())
            saved.insert(name, value);
    }
    return saved;
}

bool TakeInSavedRunStates(const QJsonObject& saved, RuleRunStates& carried)
{
    RuleRunStates slice;
    for (const auto& [name, make] : runStateMakers()) {
        if (saved.contains(name) && !slice.of(make).restore(saved.value(name)))
            return false;
    }
    carried.takeLater(slice);
    return true;
}
