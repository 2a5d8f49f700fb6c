#pragma once

#include <QString>

// Everything the engine needs from whoever watches the run: message boxes,
// progress and a chance for the window system to breathe. The window
// implementation lives with the executable, the headless one in the core, so
// nothing under engine/ ever includes a Widgets header.
enum class MessageIcon { Critical, Warning, Information };

class OperatorInterface {
public:
    virtual ~OperatorInterface() = default;

    // Shows the message and returns once the operator has acknowledged it.
    virtual void messageBox(const QString& text, const QString& title, MessageIcon icon) = 0;

    virtual void setProgressRange(int minimum, int maximum) = 0;
    virtual void setProgressValue(int value) = 0;

    // Lets pending window events run (repaint, progress). Headless: nothing.
    virtual void processEvents() = 0;

    // A plain line for whoever runs the program from a shell or a script:
    // what a refusal looked at and why, beside the message boxes, which stay
    // as they are. Headless runs print it; the window has its boxes.
    virtual void diagnostic(const QString& line) { (void)line; }
};

// An operator nobody watches: benchmarks and fuzzers, which look at times,
// crashes and answers, not at messages.
class SilentOperator : public OperatorInterface {
public:
    void messageBox(const QString&, const QString&, MessageIcon) override { }
    void setProgressRange(int, int) override { }
    void setProgressValue(int) override { }
    void processEvents() override { }
};

// The title every message box of the program carries.
inline const QString kProgramTitle = QStringLiteral("Quorvane");
