#pragma once

#include "core/OperatorInterface.h"

#include <QList>
#include <QString>
#include <QStringList>

// Test double for the operator: remembers every message box instead of
// showing it, and counts progress calls.
struct RecordedMessage {
    QString text;
    QString title;
    MessageIcon icon;
    bool operator==(const RecordedMessage&) const = default;
};

class RecordingOperator : public OperatorInterface {
public:
    void messageBox(const QString& text, const QString& title, MessageIcon icon) override
    {
        messages.append({ text, title, icon });
    }
    void setProgressRange(int minimum, int maximum) override
    {
        progressMinimum = minimum;
        progressMaximum = maximum;
    }
    void setProgressValue(int value) override { progressValues.append(value); }
    void processEvents() override { ++eventCalls; }
    void diagnostic(const QString& line) override { diagnostics.append(line); }

    QList<RecordedMessage> messages;
    int progressMinimum = -1;
    int progressMaximum = -1;
    QList<int> progressValues;
    int eventCalls = 0;
    QStringList diagnostics;
};
