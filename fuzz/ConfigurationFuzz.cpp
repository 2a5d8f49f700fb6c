#include "FuzzSupport.h"
#include "app/RunState.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "core/RunAborted.h"

#include <QFile>
#include <QTemporaryDir>

// The configuration reader over any bytes: it accepts, or refuses with its
// messages; it never crashes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static QTemporaryDir dir;
    QFile file(dir.path() + "/Quorvane.INI");
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(FuzzBytes(data, size));
    file.close();

    SilentOperator ui;
    RunState state(ui);
    state.ownInstallation().config.ApplicationPath = dir.path() + '/';
    try {
        if (ReadConfigurationFile({ ui, state.ownInstallation().config }, state.tempFolder))
            state.activeTables = TableSetForTask(ui, state.config, QStringLiteral("JRNL"));
    } catch (const RunAborted&) {
    }
    return 0;
}
