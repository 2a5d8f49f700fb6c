#pragma once

#include "report/FindingOutputs.h"

#include <QPointer>
#include <QWidget>

class FindingsViewer;
class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;
class WindowOperator;
struct RunState;

// The window of the command-line mode: a caption and a progress bar. Its
// first activation runs the whole job and then ends the program. When the
// run found something, it first offers the findings for a few seconds, so
// that an operator can look while a script that started it waits no longer.
class ProgressWindow : public QWidget {
public:
    ProgressWindow(RunState& state, WindowOperator& windowOperator, int offerSeconds = 0);
    ~ProgressWindow() override;

    FindingsViewer* findingsViewer() const;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void runJob();
    void offerFindings();
    void showFindings();
    void showCountdown();
    void finish();

    RunState& state_;
    QProgressBar* pbar_;
    QLabel* offer_;
    QPushButton* viewFindings_;
    QPushButton* close_;
    QTimer* countdown_;
    int offerSeconds_;
    int secondsLeft_ = 0;
    QString summary_;
    int status_ = 0;
    bool started_ = false;
    FindingOutputs collected_;
    QPointer<FindingsViewer> viewer_;
};
