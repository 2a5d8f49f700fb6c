#include "FuzzSupport.h"
#include "app/RunState.h"
#include "config/ConfigurationLoading.h"
#include "config/RoutineDeclTable.h"
#include "engine/Validator.h"
#include "rules/CharacterPatterns.h"
#include "rules/RuleRegistry.h"

#include <QFile>
#include <QTemporaryDir>

// Every support-table loader of the registry over the same bytes, patterns
// compiled and searched where the loader compiles them: a table is refused or
// loaded, never a crash.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static QTemporaryDir dir;
    const QString path = dir.path() + "/table.tbl";
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(FuzzBytes(data, size));
    file.close();

    SilentOperator ui;
    RunState state(ui);
    for (const TableLoaderEntry& loader : SupportTableLoaders()) {
        TableSet set;
        set.file(loader.file) = path;
        try {
            loader.load({ ui, state.ownInstallation().config }, set);
        } catch (const std::exception&) {
            // A pattern the engine rejects is a refusal the caller meets.
        }
    }
    // Rows of the special-character table are searched as a run would.
    TableSet set;
    set.file(SupportFile::SpecialCharTbl) = path;
    if (LoadSpecialCharTable({ ui, state.ownInstallation().config }, set)) {
        state.activeTables = set;
        state.activeTables.CheckSpecialChar = Switch::On;
        state.file.wholeText = QString::fromUtf8(FuzzBytes(data, size));
        SplitLines(state.file);
        for (const RuleEntry& check : Rules().wholeFileChecks) {
            if (check.name == QLatin1StringView("CheckSpecialCharacters"))
                RunRule(state.file, state.services(), check);
        }
    }
    return 0;
}
