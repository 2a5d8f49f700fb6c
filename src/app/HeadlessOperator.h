#pragma once

#include "core/OperatorInterface.h"

#include <cstdio>

// Writes message boxes to standard error as "[icon] TITLE: TEXT" and shows
// progress only when standard error is a terminal.
class HeadlessOperator : public OperatorInterface {
public:
    explicit HeadlessOperator(std::FILE* stream = stderr);
    // Tests write progress to a file, which is no terminal.
    HeadlessOperator(std::FILE* stream, bool showProgress);

    void messageBox(const QString& text, const QString& title, MessageIcon icon) override;
    void setProgressRange(int minimum, int maximum) override;
    void setProgressValue(int value) override;
    void processEvents() override { }
    // "quorvane: " + line on the stream.
    void diagnostic(const QString& line) override;
    // Shown before the percentage, such as the file of a batch; empty: none.
    void setProgressLabel(const QString& label);

    static QString iconName(MessageIcon icon);
    // The exact text written for one message box, without the final newline.
    static QString formatMessage(const QString& text, const QString& title, MessageIcon icon);
    // The progress line without its leading carriage return; a long label
    // keeps its end, so that the line fits a terminal and stays one line.
    static QString progressLine(const QString& label, int percent);

private:
    void clearProgressLine();
    void drawProgressLine(int percent);

    std::FILE* stream_;
    bool showProgress_;
    int minimum_ = 0;
    int maximum_ = 0;
    int lastPercent_ = -1;
    bool lineShown_ = false;
    QString label_;
};
