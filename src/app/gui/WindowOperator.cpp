#include "app/gui/WindowOperator.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <cstdio>

void WindowOperator::setWindow(QWidget* window, QProgressBar* progressBar)
{
    window_ = window;
    progressBar_ = progressBar;
}

void WindowOperator::messageBox(const QString& text, const QString& title, MessageIcon icon)
{
    QMessageBox::Icon boxIcon = QMessageBox::Information;
    if (icon == MessageIcon::Critical)
        boxIcon = QMessageBox::Critical;
    else if (icon == MessageIcon::Warning)
        boxIcon = QMessageBox::Warning;
    QMessageBox box(boxIcon, title, text, QMessageBox::Ok, window_);
    box.exec();
}

void WindowOperator::setProgressRange(int minimum, int maximum)
{
    if (progressBar_)
        progressBar_->setRange(minimum, maximum);
}

void WindowOperator::setProgressValue(int value)
{
    if (progressBar_)
        progressBar_->setValue(value);
}

void WindowOperator::processEvents()
{
    // The driver yields after every line; a file of a million lines would spend
    // more time in the event loop than in validation, so yield at most every
    // 30 ms, which keeps the window just as responsive.
    if (sinceEvents_.isValid() && sinceEvents_.elapsed() < 30)
        return;
    sinceEvents_.start();
    QApplication::processEvents();
}

void WindowOperator::setStatusLabel(QLabel* label)
{
    status_ = label;
}

void WindowOperator::diagnostic(const QString& line)
{
    std::fprintf(stderr, "quorvane: %s\n", qPrintable(line));
    if (status_) {
        status_->setText(status_->text().isEmpty() ? line : status_->text() + QLatin1Char('\n') + line);
        status_->show();
    }
}
