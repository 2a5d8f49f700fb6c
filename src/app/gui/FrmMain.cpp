#include "app/gui/FrmMain.h"

#include "app/SingleFileRun.h"
#include "app/gui/WindowOperator.h"
#include "core/RunAborted.h"
#include "core/RunState.h"

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>

FrmMain::FrmMain(RunState& state, WindowOperator& windowOperator)
    : state_(state)
    , pbar_(new QProgressBar(this))
{
    setWindowTitle(kProgramTitle);
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(QStringLiteral("Validating %1").arg(state.inputFileName), this);
    layout->addWidget(label);
    layout->addWidget(pbar_);
    auto* status = new QLabel(this);
    status->setWordWrap(true);
    status->hide();
    layout->addWidget(status);
    windowOperator.setStatusLabel(status);
    resize(420, 90);
    windowOperator.setWindow(this, pbar_);
}

void FrmMain::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (started_)
        return;
    started_ = true;
    // Run once the window is on screen, from the event loop.
    QTimer::singleShot(0, this, [this] { runJob(); });
}

void FrmMain::runJob()
{
    int status = ExitStatus::Refused;
    try {
        status = RunSingleFile(state_);
    } catch (const RunAborted& aborted) {
        status = aborted.exitStatus();
    }
    QApplication::exit(status);
}
