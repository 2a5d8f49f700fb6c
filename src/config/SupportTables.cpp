#include "config/SupportTables.h"

#include "app/RunState.h"
#include "config/RoutineDeclTable.h"
#include "config/TableReading.h"
#include "rules/CharacterPatterns.h"

#include <QFileInfo>

namespace {

template <SupportFile Which> bool LoadLinesTable(RunState& state, TableSet& set)
{
    auto table = std::make_shared<LinesTable>();
    if (!TableReading::ReadLines(state, set.file(Which), table->lines))
        return false;
    set.table(Which) = std::move(table);
    return true;
}

// Missing names in configuration order. Only the routine declaration table
// may start the list; every other name comes after a line break, so a list
// whose first missing name is another table begins with an empty line.
void collectMissing(const TableSet& set, bool isDefault, QString& list)
{
    for (int i = 0; i < kSupportFileCount; ++i) {
        const QString& name = set.files[i];
        if (!isDefault && name.isEmpty())
            continue;
        if (QFileInfo(name).isFile())
            continue;
        if (isDefault && i == static_cast<int>(SupportFile::RoutineDeclTbl))
            list += name;
        else
            list += QStringLiteral("\r\n") + name;
    }
}

bool loadSet(RunState& state, TableSet& set, bool isDefault)
{
    for (const TableLoaderEntry& entry : SupportTableLoaders()) {
        // A task without its own name for a table borrows the default's.
        if (!isDefault && set.file(entry.file).isEmpty())
            continue;
        if (!entry.load(state, set))
            return false;
    }
    return true;
}

} // namespace

const QList<TableLoaderEntry>& SupportTableLoaders()
{
    using enum SupportFile;
    static const QList<TableLoaderEntry> loaders = {
        { RoutineDeclTbl, LoadRoutineDeclTable },
        { TextValidityTbl, LoadLinesTable<TextValidityTbl> },
        { NoHRTDeclTbl, LoadLinesTable<NoHRTDeclTbl> },
        { WithHRTDeclTbl, LoadLinesTable<WithHRTDeclTbl> },
        { HyphenatedTbl, LoadLinesTable<HyphenatedTbl> },
        { UnConEntitiesTbl, LoadLinesTable<UnConEntitiesTbl> },
        { NoLeadZeroTbl, LoadLinesTable<NoLeadZeroTbl> },
        { AttribUnconTbl, LoadLinesTable<AttribUnconTbl> },
        { CitationValTbl, LoadLinesTable<CitationValTbl> },
        { SpecialCharTbl, LoadSpecialCharTable },
        { Convert2AttribTbl, LoadLinesTable<Convert2AttribTbl> },
        { Convert2TagTbl, LoadLinesTable<Convert2TagTbl> },
        { CompContTbl, LoadLinesTable<CompContTbl> },
        { CheckPairTbl, LoadLinesTable<CheckPairTbl> },
        { CheckPairContTbl, LoadLinesTable<CheckPairContTbl> },
        { FilenameCheck, LoadLinesTable<FilenameCheck> },
        { CountRefCheck, LoadLinesTable<CountRefCheck> },
        { PCPDataCompare, LoadLinesTable<PCPDataCompare> },
        { ImageValidationTbl, LoadLinesTable<ImageValidationTbl> },
    };
    return loaders;
}

bool LoadAllSupportTables(RunState& state)
{
    Configuration& config = state.config;
    QString missing;
    collectMissing(config.DefaultTableSet, true, missing);
    // Task tables are checked too: a missing task table should stop the run at
    // start-up, not surface as a read error in the middle of the loading.
    for (const TaskTableSet& task : config.Tasks)
        collectMissing(task.set, false, missing);
    if (!missing.isEmpty()) {
        state.ui.messageBox(
            QStringLiteral("Missing Support File/s:\r\n") + missing, kProgramTitle, MessageIcon::Warning);
        return false;
    }

    if (!loadSet(state, config.DefaultTableSet, true))
        return false;
    for (TaskTableSet& task : config.Tasks) {
        if (!loadSet(state, task.set, false))
            return false;
    }
    return true;
}
