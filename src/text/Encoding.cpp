#include "text/Encoding.h"

#include <QRegularExpression>
#include <QStringDecoder>
#include <algorithm>
#include <array>

namespace {

constexpr std::array<char16_t, 32> kHighControlBlock = {
    0x20AC,
    0x0081,
    0x201A,
    0x0192,
    0x201E,
    0x2026,
    0x2020,
    0x2021,
    0x02C6,
    0x2030,
    0x0160,
    0x2039,
    0x0152,
    0x008D,
    0x017D,
    0x008F,
    0x0090,
    0x2018,
    0x2019,
    0x201C,
    0x201D,
    0x2022,
    0x2013,
    0x2014,
    0x02DC,
    0x2122,
    0x0161,
    0x203A,
    0x0153,
    0x009D,
    0x017E,
    0x0178,
};

} // namespace

QString DecodeWindows1252(QByteArrayView bytes)
{
    // Latin-1 is right for every byte but 0x80 to 0x9F, and Qt widens it in
    // wide steps; only the blocks that hold such a byte are gone over again.
    QString text = QString::fromLatin1(bytes);
    char16_t* out = reinterpret_cast<char16_t*>(text.data());
    constexpr qsizetype kBlock = 64;
    for (qsizetype from = 0; from < bytes.size(); from += kBlock) {
        const qsizetype to = std::min(from + kBlock, bytes.size());
        bool high = false;
        for (qsizetype i = from; i < to; ++i)
            high |= static_cast<unsigned char>(bytes[i] - '\x80') < 0x20;
        if (!high)
            continue;
        for (qsizetype i = from; i < to; ++i) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            if (byte >= 0x80 && byte <= 0x9F)
                out[i] = kHighControlBlock[byte - 0x80];
        }
    }
    return text;
}

QString DecodeTableText(QByteArrayView bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes = bytes.sliced(3);
    // Decided line by line: one Windows-1252 byte in a comment must not turn
    // the UTF-8 folder names of every other line into mojibake. Line ends are
    // ASCII in both encodings, so splitting the bytes first is safe.
    QString text;
    text.reserve(bytes.size());
    qsizetype from = 0;
    while (from < bytes.size()) {
        qsizetype end = from;
        while (end < bytes.size() && bytes[end] != '\r' && bytes[end] != '\n')
            ++end;
        const QByteArrayView line = bytes.sliced(from, end - from);
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString decoded = utf8.decode(line);
        text += utf8.hasError() ? DecodeWindows1252(line) : decoded;
        qsizetype next = end < bytes.size() ? end + 1 : end; // one line end: CR LF, LF or CR
        if (next < bytes.size() && bytes[end] == '\r' && bytes[next] == '\n')
            ++next;
        text += QString::fromLatin1(bytes.sliced(end, next - end));
        from = next;
    }
    return text;
}

QStringList SplitTextLines(const QString& text)
{
    static const QRegularExpression lineEnd(QStringLiteral("\r\n|\n|\r"));
    QStringList lines = text.split(lineEnd);
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}
