#include "config/SupportTables.h"

#include "config/ConfigurationLoading.h"

#include <QFileInfo>

namespace {

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

bool loadSet(const ConfigurationLoading& loading, const QList<TableLoaderEntry>& loaders, TableSet& set,
    bool isDefault)
{
    for (const TableLoaderEntry& entry : loaders) {
        // A task without its own name for a table borrows the default's.
        if (!isDefault && set.file(entry.file).isEmpty())
            continue;
        if (!entry.load(loading, set))
            return false;
    }
    return true;
}

} // namespace

bool LoadAllSupportTables(const ConfigurationLoading& loading, const QList<TableLoaderEntry>& loaders)
{
    Configuration& config = loading.config;
    QString missing;
    collectMissing(config.DefaultTableSet, true, missing);
    // Task tables are checked too: a missing task table should stop the run at
    // start-up, not surface as a read error in the middle of the loading.
    for (const TaskTableSet& task : config.Tasks)
        collectMissing(task.set, false, missing);
    if (!missing.isEmpty()) {
        loading.ui.messageBox(
            QStringLiteral("Missing Support File/s:\r\n") + missing, kProgramTitle, MessageIcon::Warning);
        return false;
    }

    if (!loadSet(loading, loaders, config.DefaultTableSet, true))
        return false;
    for (TaskTableSet& task : config.Tasks) {
        if (!loadSet(loading, loaders, task.set, false))
            return false;
    }
    return true;
}
