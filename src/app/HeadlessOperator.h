#pragma once

#include "core/OperatorInterface.h"

#include <cstdio>

// Writes message boxes to standard error as "[icon] TITLE: TEXT" and shows
// progress only when standard error is a terminal.
class HeadlessOperator : public OperatorInterface {
public:
    explicit HeadlessOperator(std::FILE* stream = stderr);

    void messageBox(const QString& text, const QString& title, MessageIcon icon) override;
    void setProgressRange(int minimum, int maximum) override;
    void setProgressValue(int value) override;
    void processEvents() override { }
    // "quorvane: " + line on the stream.
    void diagnostic(const QString& line) override;

    static QString iconName(MessageIcon icon);
    // The exact text written for one message box, without the final newline.
    static QString formatMessage(const QString& text, const QString& title, MessageIcon icon);

private:
    void clearProgressLine();

    std::FILE* stream_;
    bool showProgress_;
    int minimum_ = 0;
    int maximum_ = 0;
    int lastPercent_ = -1;
};
