#include "app/HeadlessOperator.h"

#include <unistd.h>

HeadlessOperator::HeadlessOperator(std::FILE* stream)
    : stream_(stream)
    , showProgress_(isatty(fileno(stream)) != 0)
{
}

HeadlessOperator::HeadlessOperator(std::FILE* stream, bool showProgress)
    : stream_(stream)
    , showProgress_(showProgress)
{
}

QString HeadlessOperator::iconName(MessageIcon icon)
{
    switch (icon) {
    case MessageIcon::Critical:
        return QStringLiteral("critical");
    case MessageIcon::Warning:
        return QStringLiteral("warning");
    case MessageIcon::Information:
        return QStringLiteral("information");
    }
    return {};
}

QString HeadlessOperator::formatMessage(const QString& text, const QString& title, MessageIcon icon)
{
    QString body = text;
    body.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return QStringLiteral("[%1] %2: %3").arg(iconName(icon), title, body);
}

void HeadlessOperator::messageBox(const QString& text, const QString& title, MessageIcon icon)
{
    clearProgressLine();
    std::fprintf(stream_, "%s\n", formatMessage(text, title, icon).toUtf8().constData());
    std::fflush(stream_);
}

QString HeadlessOperator::progressLine(const QString& label, int percent)
{
    const QString number = QStringLiteral("%1%").arg(percent, 3);
    if (label.isEmpty())
        return number;
    constexpr qsizetype kLabelWidth = 70;
    const QString shown
        = label.size() <= kLabelWidth ? label : QStringLiteral("...") + label.right(kLabelWidth - 3);
    return shown + QStringLiteral("  ") + number;
}

void HeadlessOperator::setProgressLabel(const QString& label)
{
    clearProgressLine();
    label_ = label;
    if (!label_.isEmpty())
        drawProgressLine(0);
}

void HeadlessOperator::setProgressRange(int minimum, int maximum)
{
    minimum_ = minimum;
    maximum_ = maximum;
    lastPercent_ = -1;
}

void HeadlessOperator::setProgressValue(int value)
{
    if (!showProgress_ || maximum_ <= minimum_)
        return;
    const int percent = static_cast<int>(100LL * (value - minimum_) / (maximum_ - minimum_));
    if (percent == lastPercent_)
        return;
    drawProgressLine(percent);
    // A single file's line goes at its end; a batch's stays until the next file.
    if (percent >= 100 && label_.isEmpty())
        clearProgressLine();
}

void HeadlessOperator::drawProgressLine(int percent)
{
    if (!showProgress_)
        return;
    lastPercent_ = percent;
    lineShown_ = true;
    // "\033[K" clears what a longer line before left behind.
    std::fprintf(stream_, "\r%s\033[K", progressLine(label_, percent).toUtf8().constData());
    std::fflush(stream_);
}

void HeadlessOperator::clearProgressLine()
{
    if (lineShown_) {
        std::fprintf(stream_, "\r\033[K");
        std::fflush(stream_);
        lineShown_ = false;
        lastPercent_ = -1;
    }
}

void HeadlessOperator::diagnostic(const QString& line)
{
    clearProgressLine();
    std::fprintf(stream_, "quorvane: %s\n", qPrintable(line));
    std::fflush(stream_);
}
