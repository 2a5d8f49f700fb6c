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

using namespace Qt::Literals::StringLiterals;
using enum SupportFile;

namespace {

RuleBook makeRules()
{
    RuleBook book;
    // The order in which the dispatcher compares a declared name.
    book.routines = {
        { "TEXTVALIDITY"_L1, TEXTVALIDITY, TextValidityTbl, LoadTextValidityTable },
        { "IMGNAMEARTIDEQUALITY"_L1, IMGNAMEARTIDEQUALITY, ImageValidationTbl, LoadImageValidationTable },
        { "IMGNAMELENGTHEQUALITY"_L1, IMGNAMELENGTHEQUALITY, ImageValidationTbl, LoadImageValidationTable },
        { "NOHRT"_L1, NOHRT, NoHRTDeclTbl, LoadNoHrtTable },
        { "WITHHRT"_L1, WITHHRT, WithHRTDeclTbl, LoadWithHrtTable },
        { "HYPHENATEDWORDCHECK"_L1, HYPHENATEDWORDCHECK, HyphenatedTbl, LoadHyphenatedTable },
        { "COMPOUNDWORDCHECK"_L1, COMPOUNDWORDCHECK, HyphenatedTbl, LoadHyphenatedTable },
        { "UNCONENTITIES"_L1, UNCONENTITIES, UnConEntitiesTbl, LoadUnconEntitiesTable },
        { "CONVERT2TAG"_L1, CONVERT2TAG, Convert2TagTbl, LoadConvert2TagTable },
        { "NOLEADZERO"_L1, NOLEADZERO, NoLeadZeroTbl, LoadNoLeadZeroTable },
        { "ATTRIBUNCONENTITY"_L1, ATTRIBUNCONENTITY, AttribUnconTbl, LoadAttribUnconTable },
        { "ATTRIBRANGEVALIDITY"_L1, ATTRIBRANGEVALIDITY },
        { "ATTRIBNUMBERVALIDITY"_L1, ATTRIBNUMBERVALIDITY },
        { "CONVERT2ATTRIB"_L1, CONVERT2ATTRIB, Convert2AttribTbl, LoadConvert2AttribTable },
        { "UNDELFNREF"_L1, UNDELFNREF },
        { "CITATIONVALIDITY"_L1, CITATIONVALIDITY, CitationValTbl, LoadCitationTable },
        { "COMPCONT"_L1, COMPCONT, CompContTbl, LoadCompContTable },
        { "CHECKPAIRVALIDITY"_L1, CHECKPAIRVALIDITY, CheckPairTbl, LoadPairTable },
        { "CHECKPAIRCONTVALIDITY"_L1, CHECKPAIRCONTVALIDITY, CheckPairContTbl, LoadPairContentTable },
        { "CHECKCOUNTREFVALIDITY"_L1, CHECKCOUNTREFVALIDITY, CountRefCheck, LoadCountRefTable },
        { "PCPDATACOMPARE"_L1, PCPDATACOMPARE, PCPDataCompare, LoadPcDataTable },
    };
    // The order in which they run, once per file before the line scan.
    book.wholeFileChecks = {
        { "CheckMultipleHardReturns"_L1, CheckMultipleHardReturns },
        { "CheckSpecialCharacters"_L1, CheckSpecialCharacters, SpecialCharTbl, LoadSpecialCharTable },
        { "CheckFileName"_L1, CheckFileName, FilenameCheck, LoadFileNameTable },
        { "CheckImageValidation"_L1, CheckImageValidation, ImageValidationTbl, LoadImageValidationTable },
    };
    // Judged after the last line, from what their routines gathered; named as
    // the routine, whose findings they are.
    book.fileEndChecks = {
        { "CHECKCOUNTREFVALIDITY"_L1, ReportCountRefsAtFileEnd },
        { "COMPCONT"_L1, ReportCompContAtFileEnd },
    };
    return book;
}

bool loadRoutineDeclarations(RunState& state, TableSet& set)
{
    return LoadRoutineDeclTable(state, set, IsRoutineName);
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

bool IsRoutineName(const QString& upperName)
{
    const QList<RuleEntry>& routines = Rules().routines;
    return std::any_of(
        routines.begin(), routines.end(), [&](const RuleEntry& rule) { return rule.name == upperName; });
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
