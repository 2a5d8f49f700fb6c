// Renders the batch window of an installation, as an operator sees it after
// picking a folder, to a PNG. Run on the offscreen platform, it needs no
// display: scripts/screenshot makes docs/batch-window.png with it.
#include "app/HeadlessOperator.h"
#include "app/RunState.h"
#include "app/Startup.h"
#include "app/gui/BatchWindow.h"
#include "core/MoveFiles.h"
#include "core/RunAborted.h"

#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QPixmap>
#include <cstdio>

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 3) {
        std::fputs("Usage: quorvane_screenshot APP-DIR OUTPUT.png [ENTRY [TASK]]\n", stderr);
        return 2;
    }
    HeadlessOperator ui;
    RunState state(ui);
    state.ownInstallation().config.ApplicationPath = FolderServices::WithTrailingSlash(arguments[1]);
    try {
        if (Main(state, QString()) != RunMode::Batch)
            return 2;
    } catch (const RunAborted& aborted) {
        return aborted.exitStatus();
    }

    BatchWindow window(state);
    window.show();
    QApplication::processEvents();
    if (arguments.size() > 3) {
        for (QListWidgetItem* item :
            window.findChild<QListWidget*>("entryList")->findItems(arguments[3], Qt::MatchExactly))
            item->setSelected(true);
    }
    if (arguments.size() > 4)
        window.findChild<QLineEdit*>("taskCodeBox")->setText(arguments[4]);
    QApplication::processEvents();
    const bool saved = window.grab().save(arguments[2], "PNG");
    // The window's own way out would remove the temporary folder of a real session.
    return saved ? 0 : 2;
}
