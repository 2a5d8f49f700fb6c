#include "report/ReportFormat.h"

namespace ReportFormat {
namespace {

constexpr qsizetype kMessageCut = 76;
constexpr qsizetype kShortMessageCut = 53;
constexpr qsizetype kDataCut = 250;

QString blanks(qsizetype count)
{
    return QString(std::max<qsizetype>(count, 1), QLatin1Char(' '));
}

QString mark(EntryKind kind)
{
    return kind == EntryKind::Error ? QStringLiteral("E / ") : QStringLiteral("W / ");
}

QString twoDigits(int value)
{
    return QString::number(value).rightJustified(2, QLatin1Char('0'));
}

} // namespace

QString padded(std::int64_t value, int digits)
{
    // Negative values keep the sign in front of the zeros, as a numeric picture would.
    const QString magnitude = QString::number(value < 0 ? -static_cast<quint64>(value) : value);
    return (value < 0 ? QStringLiteral("-") : QString()) + magnitude.rightJustified(digits, QLatin1Char('0'));
}

QString preparedData(const QString& data)
{
    // Every character shows as at least one, so the shown text comes from the
    // first kDataCut characters, plus one for a CR LF cut in half: a long line
    // is never copied whole for an entry.
    static_assert(kDataSourceLength == kDataCut + 2);
    QString shown = data.left(kDataSourceLength);
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("..."));
    shown.truncate(kDataCut);
    return shown;
}

QString preparedDataWholeCharacters(const QString& data)
{
    QString shown = data.left(kDataCut + 2);
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("..."));
    const bool splitsPair = shown.size() > kDataCut && shown[kDataCut - 1].isHighSurrogate()
        && shown[kDataCut].isLowSurrogate();
    shown.truncate(splitsPair ? kDataCut - 1 : kDataCut);
    return shown;
}

QString wellFormedText(const QString& text)
{
    if (QStringView(text).isValidUtf16())
        return text;
    QString out = text;
    for (qsizetype i = 0; i < out.size(); ++i) {
        const bool pair = out[i].isHighSurrogate() && i + 1 < out.size() && out[i + 1].isLowSurrogate();
        if (pair)
            ++i;
        else if (out[i].isSurrogate())
            out[i] = QChar::ReplacementCharacter;
    }
    return out;
}

EntryTexts formatEntry(EntryKind kind, std::int64_t lineNumber, const QString& message, const QString& data,
    std::int32_t column, bool columnMode)
{
    const QString line = padded(lineNumber, 10);
    const QString data250 = preparedData(data);
    const QString message76 = message.left(kMessageCut);
    const QString message53 = message76.left(kShortMessageCut);
    // The blanks put the data at character 104 of a report line.
    const QString wideGap = blanks(103 - (message76.size() + 17));
    const QString narrowGap = blanks(66 - (message53.size() + 11));
    const QString located = line + QStringLiteral(" - ") + padded(column, 5) + QStringLiteral(" - ")
        + mark(kind) + message53 + narrowGap + QStringLiteral(" - ") + data250;

    EntryTexts texts;
    texts.reportLine
        = columnMode ? located : line + QStringLiteral("   ") + mark(kind) + message76 + wideGap + data250;
    texts.plainLine = line + QStringLiteral("     ") + mark(kind) + message53 + narrowGap + data250
        + QStringLiteral("\r\n");
    texts.columnLine = located + QStringLiteral("\r\n");
    texts.record = { line, QStringLiteral("   ") + mark(kind) + message76 + wideGap, data250 };
    return texts;
}

QStringList reportHeader(const QString& baseName, EntryKind kind, bool columnMode)
{
    const QString heading
        = kind == EntryKind::Error ? QStringLiteral("Error Message") : QStringLiteral("Warning Message");
    const QString location = columnMode ? QStringLiteral("Line No - Column No") + QString(2, QLatin1Char(' '))
                                        : QStringLiteral("Line No") + QString(6, QLatin1Char(' '));
    return {
        QStringLiteral("Filename: ") + baseName,
        location + heading + QString(103, QLatin1Char(' ')) + QStringLiteral("Data Content"),
        QString(10, QLatin1Char('=')) + QString(3, QLatin1Char(' ')) + QString(80, QLatin1Char('='))
            + QString(10, QLatin1Char(' ')) + QString(66, QLatin1Char('=')),
    };
}

QString errorViewRule()
{
    return QString(137, QLatin1Char('='));
}

QStringList errorViewHeader(const QString& inputPath, bool columnMode)
{
    const QString rule = errorViewRule();
    const QString location = columnMode ? QStringLiteral("Line No - Column No") + QString(3, QLatin1Char(' '))
                                        : QStringLiteral("Line No") + QString(8, QLatin1Char(' '));
    return {
        QString(),
        rule,
        QStringLiteral("Input File: ") + inputPath,
        QString(),
        location + QStringLiteral("Error Message") + QString(47, QLatin1Char(' '))
            + QStringLiteral("Data Content"),
        rule,
    };
}

QString clockTime(const QDateTime& moment)
{
    // Built by hand: Qt's "AP" follows the locale, the logs must always say AM or PM.
    const QTime time = moment.time();
    const int hour12 = time.hour() % 12 == 0 ? 12 : time.hour() % 12;
    return twoDigits(hour12) + QLatin1Char(':') + twoDigits(time.minute()) + QLatin1Char(':')
        + twoDigits(time.second()) + (time.hour() < 12 ? QStringLiteral(" AM") : QStringLiteral(" PM"));
}

QString logDateTime(const QDateTime& moment)
{
    const QDate date = moment.date();
    return twoDigits(date.month()) + QLatin1Char('/') + twoDigits(date.day()) + QLatin1Char('/')
        + twoDigits(date.year() % 100) + QLatin1Char(' ') + clockTime(moment);
}

} // namespace ReportFormat
