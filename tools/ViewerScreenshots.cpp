// Renders the findings viewer over the reports a run left in a working
// folder, and the folder chooser, to two PNGs. Run on the offscreen platform,
// it needs no display: scripts/screenshot makes docs/findings-viewer.png and
// docs/folder-chooser.png with it after a batch of the sample installation.
#include "app/RunState.h"
#include "app/gui/FindingsModel.h"
#include "app/gui/FindingsViewer.h"
#include "app/gui/FolderChooser.h"
#include "app/gui/SourceView.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "core/MoveFiles.h"
#include "report/RecordedRun.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPixmap>
#include <QTableView>
#include <cstdio>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 5) {
        std::fputs(
            "Usage: quorvane_viewer_screenshots APP-DIR WORKDIR VIEWER.png CHOOSER.png [ROW]\n", stderr);
        return 2;
    }
    SilentOperator ui;
    RunState state(ui);
    Configuration& config = state.ownInstallation().config;
    config.ApplicationPath = FolderServices::WithTrailingSlash(arguments[1]);
    if (!ReadConfigurationFile({ state.ui, config }))
        return 2;
    const RecordedRun run
        = ReadRecordedRun(arguments[2], { state.config.InputPath, state.config.InputFileMask });
    if (!run.error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(run.error));
        return 2;
    }

    FindingsViewer viewer(run, ViewerSettingsOf(state.config), arguments[2]);
    viewer.resize(1240, 700);
    viewer.show();
    // Sorted by line, a finding some way down the first file shows the text around it.
    auto* table = viewer.findChild<QTableView*>(QStringLiteral("findings"));
    table->sortByColumn(FindingsModel::LineColumn, Qt::AscendingOrder);
    const int row = arguments.size() > 5 ? arguments[5].toInt() : 0;
    table->setCurrentIndex(viewer.model()->index(row, 0));
    QElapsedTimer waited;
    waited.start();
    while (!viewer.sourceView()->source() && waited.elapsed() < 10000)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    viewer.sourceView()->setFocus();
    QApplication::processEvents();
    if (!viewer.grab().save(arguments[3], "PNG"))
        return 2;

    FolderChooser chooser(QStringLiteral("Working folder: where the reports go"), state.config.WorkPath,
        FolderChooser::Use::Write);
    chooser.show();
    QApplication::processEvents();
    // The tree fills in from a thread of its own.
    waited.restart();
    while (waited.elapsed() < 1500)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    chooser.setCurrentFolder(state.config.WorkPath);
    QApplication::processEvents();
    return chooser.grab().save(arguments[4], "PNG") ? 0 : 2;
}
