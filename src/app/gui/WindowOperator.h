#pragma once

#include "core/OperatorInterface.h"

#include <QElapsedTimer>
#include <QPointer>

class QLabel;
class QProgressBar;
class QWidget;

// The operator interface of the windowed program: real message boxes and the
// progress bar of the window that runs the job.
class WindowOperator : public OperatorInterface {
public:
    void setWindow(QWidget* window, QProgressBar* progressBar);

    void messageBox(const QString& text, const QString& title, MessageIcon icon) override;
    void setProgressRange(int minimum, int maximum) override;
    void setProgressValue(int value) override;
    void processEvents() override;
    // Shown under the progress bar, and on standard error for a shell that
    // started the window.
    void diagnostic(const QString& line) override;
    void setStatusLabel(QLabel* label);

private:
    QPointer<QWidget> window_;
    QPointer<QProgressBar> progressBar_;
    QPointer<QLabel> status_;
    QElapsedTimer sinceEvents_;
};
