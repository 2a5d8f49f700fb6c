#include "text/SourceText.h"

#include "core/OperatorInterface.h"
#include "text/InputLoading.h"

#include <QFile>
#include <QStringList>

namespace {

QString encodingOf(QByteArrayView head, bool utf8Input)
{
    if (head.startsWith("\xFF\xFE"))
        return QStringLiteral("UTF-16 LE");
    if (head.startsWith("\xFE\xFF"))
        return QStringLiteral("UTF-16 BE");
    if (head.startsWith("\xEF\xBB\xBF"))
        return QStringLiteral("UTF-8 with byte-order mark");
    return utf8Input ? QStringLiteral("UTF-8") : QStringLiteral("Windows-1252");
}

// The line ends as written, counted in code units of the file's encoding, so
// that the reader knows which ones the run read as CR LF.
QString lineEndsOf(QByteArrayView bytes, const QString& encoding)
{
    const int unit = encoding.startsWith(u"UTF-16") ? 2 : 1;
    const bool bigEndian = encoding == u"UTF-16 BE";
    const auto at = [&](qsizetype i) {
        if (unit == 1)
            return uchar(bytes[i]);
        const uchar first = bytes[i], second = bytes[i + 1];
        return uchar(bigEndian ? (first == 0 ? second : 0xFF) : (second == 0 ? first : 0xFF));
    };
    bool crlf = false, lf = false, cr = false;
    const qsizetype end = bytes.size() - (bytes.size() % unit);
    for (qsizetype i = 0; i < end; i += unit) {
        const uchar c = at(i);
        if (c == '\n')
            lf = true;
        else if (c == '\r' && i + unit < end && at(i + unit) == '\n')
            crlf = true, i += unit;
        else if (c == '\r')
            cr = true;
    }
    QStringList kinds;
    if (crlf)
        kinds << QStringLiteral("CR LF");
    if (lf)
        kinds << QStringLiteral("LF");
    if (cr)
        kinds << QStringLiteral("lone CR");
    return kinds.isEmpty() ? QStringLiteral("none") : kinds.join(QStringLiteral(" and "));
}

} // namespace

QStringView SourceText::line(qsizetype index) const
{
    const qsizetype start = lineStarts[index];
    const qsizetype end = index + 1 < lineCount() ? lineStarts[index + 1] - 2 : text.size();
    return QStringView(text).sliced(start, end - start);
}

SourceText LoadSourceText(const QString& path, bool utf8Input)
{
    SourceText source;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        source.error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return source;
    }
    // Mapped, not read: the decoder reads the file again, and a 100 MB input
    // should not be held twice for a look at its line ends.
    const qint64 size = file.size();
    uchar* mapped = size > 0 ? file.map(0, size) : nullptr;
    const QByteArray copy = mapped ? QByteArray() : file.readAll();
    const QByteArrayView bytes = mapped ? QByteArrayView(mapped, size) : QByteArrayView(copy);
    source.encoding = encodingOf(bytes.first(std::min<qsizetype>(bytes.size(), 3)), utf8Input);
    source.lineEnds = lineEndsOf(bytes, source.encoding);
    if (mapped)
        file.unmap(mapped);
    try {
        SilentOperator silent;
        source.text = LoadInputText(silent, path, utf8Input);
    } catch (const InputUnreadable& failure) {
        source.error = QString::fromStdString(failure.what());
        return source;
    }
    // After the CR LF reading every LF ends a line, and only an LF does.
    source.lineStarts.push_back(0);
    const QChar* data = source.text.constData();
    for (qsizetype i = 0; i < source.text.size(); ++i) {
        if (data[i] == u'\n') {
            source.longestLine = std::max(source.longestLine, i - 1 - source.lineStarts.back());
            source.lineStarts.push_back(i + 1);
        }
    }
    source.longestLine = std::max(source.longestLine, source.text.size() - source.lineStarts.back());
    return source;
}
