#include "app/HeadlessOperator.h"

#include <unistd.h>

HeadlessOperator::HeadlessOperator(std::FILE* stream)
    : stream_(stream)
    , showProgress_(isatty(fileno(stream)) != 0)
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
    lastPercent_ = percent;
    std::fprintf(stream_, "\r%3d%%", percent);
    if (percent >= 100)
        clearProgressLine();
    std::fflush(stream_);
}

void HeadlessOperator::clearProgressLine()
{
    if (showProgress_ && lastPercent_ >= 0) {
        std::fprintf(stream_, "\r    \r");
        lastPercent_ = -1;
    }
}

void HeadlessOperator::diagnostic(const QString& line)
{
    clearProgressLine();
    std::fprintf(stream_, "quorvane: %s\n", qPrintable(line));
    std::fflush(stream_);
}
