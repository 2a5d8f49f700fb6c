#pragma once

#include <QWidget>

class QProgressBar;
class WindowOperator;
struct RunState;

// The window of the command-line mode: a caption and a progress bar. Its
// first activation runs the whole job and then ends the program.
class FrmMain : public QWidget {
public:
    FrmMain(RunState& state, WindowOperator& windowOperator);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void runJob();

    RunState& state_;
    QProgressBar* pbar_;
    bool started_ = false;
};
