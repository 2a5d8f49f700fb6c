#include "app/gui/ProgressWindow.h"

#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "app/gui/FindingsViewer.h"
#include "app/gui/WindowOperator.h"
#include "core/RunAborted.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

ProgressWindow::ProgressWindow(RunState& state, WindowOperator& windowOperator, int offerSeconds)
    : state_(state)
    , pbar_(new QProgressBar(this))
    , offer_(new QLabel(this))
    , viewFindings_(new QPushButton(QStringLiteral("&View findings"), this))
    , close_(new QPushButton(QStringLiteral("&Close"), this))
    , countdown_(new QTimer(this))
    , offerSeconds_(offerSeconds)
    , collected_(kProgramTitle, QString(), {})
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
    auto* offerRow = new QHBoxLayout;
    offerRow->addWidget(offer_, 1);
    offerRow->addWidget(viewFindings_);
    offerRow->addWidget(close_);
    layout->addLayout(offerRow);
    offer_->setObjectName(QStringLiteral("offer"));
    viewFindings_->setObjectName(QStringLiteral("viewFindings"));
    for (QWidget* widget : std::initializer_list<QWidget*> { offer_, viewFindings_, close_ })
        widget->hide();
    resize(460, 110);
    windowOperator.setWindow(this, pbar_);
    // The findings as the run hands them on, for the viewer.
    state_.findingSinks.subscribe(collected_);

    countdown_->setInterval(1000);
    connect(countdown_, &QTimer::timeout, this, [this] {
        if (--secondsLeft_ <= 0)
            finish();
        else
            showCountdown();
    });
    connect(viewFindings_, &QPushButton::clicked, this, [this] { showFindings(); });
    connect(close_, &QPushButton::clicked, this, [this] { finish(); });
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, [this] {
        if (close_->isVisible())
            finish();
    });
}

ProgressWindow::~ProgressWindow()
{
    state_.findingSinks.unsubscribe(collected_);
}

FindingsViewer* ProgressWindow::findingsViewer() const
{
    return viewer_;
}

void ProgressWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (started_)
        return;
    started_ = true;
    // Run once the window is on screen, from the event loop.
    QTimer::singleShot(0, this, [this] { runJob(); });
}

void ProgressWindow::runJob()
{
    status_ = ExitStatus::Refused;
    try {
        status_ = RunSingleFile(state_);
    } catch (const RunAborted& aborted) {
        status_ = aborted.exitStatus();
    }
    int findings = 0;
    for (const FileFindings& file : collected_.run().files)
        findings += int(file.findings.size());
    // A refused or failed run has its message box; its findings are no account of the input.
    if (offerSeconds_ > 0 && findings > 0 && status_ != ExitStatus::Refused)
        offerFindings();
    else
        finish();
}

void ProgressWindow::offerFindings()
{
    pbar_->hide();
    summary_ = QStringLiteral("%1: %2 error(s), %3 warning(s).")
                   .arg(state_.inputFileName)
                   .arg(state_.report.errorCount)
                   .arg(state_.report.warningCount);
    secondsLeft_ = offerSeconds_;
    showCountdown();
    for (QWidget* widget : std::initializer_list<QWidget*> { offer_, viewFindings_, close_ })
        widget->show();
    viewFindings_->setDefault(true);
    viewFindings_->setFocus();
    countdown_->start();
}

void ProgressWindow::showCountdown()
{
    offer_->setText(summary_ + QStringLiteral(" Closing in %1 s.").arg(secondsLeft_));
}

// The program ends when the viewer closes, with the run's exit status: the
// last window closing must not end it first with a 0.
void ProgressWindow::showFindings()
{
    countdown_->stop();
    QApplication::setQuitOnLastWindowClosed(false);
    hide();
    viewer_ = new FindingsViewer(
        RecordedRunOf(collected_.run()), ViewerSettingsOf(state_.config), state_.inputFileName);
    viewer_->setAttribute(Qt::WA_DeleteOnClose);
    connect(viewer_, &QObject::destroyed, this, [this] { finish(); });
    viewer_->show();
}

void ProgressWindow::finish()
{
    countdown_->stop();
    QApplication::exit(status_);
}
