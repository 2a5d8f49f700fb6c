#include "text/InputLoading.h"

#include "core/HugePages.h"
#include "core/OperatorInterface.h"
#include "text/Encoding.h"

#include <QFile>
#include <QStringDecoder>
#include <algorithm>

namespace {

// `length` reads "N bytes" or "N characters".
InputUnreadable tooLong(const QString& path, const QString& length, qint64 longest)
{
    return InputUnreadable(
        QStringLiteral("%1 is too long: %2, more than the %3 that 32-bit positions can address")
            .arg(path, length)
            .arg(longest)
            .toStdString());
}

QByteArray readBytes(const QString& path, qint64 longest = kLongestInput)
{
    QFile file(path);
    const auto unreadable = [&] {
        return InputUnreadable(QStringLiteral("%1: %2").arg(path, file.errorString()).toStdString());
    };
    if (!file.open(QIODevice::ReadOnly))
        throw unreadable();
    if (file.size() > longest)
        throw tooLong(path, QStringLiteral("%1 bytes").arg(file.size()), longest);
    // Read into a buffer of the file's size; whatever the file has grown by
    // since (or all of it, for a file of no known size) follows.
    QByteArray bytes(std::max<qint64>(file.size(), 0), Qt::Uninitialized);
    AdviseHugePages(bytes.data(), std::size_t(bytes.size()));
    const qint64 got = bytes.isEmpty() ? 0 : file.read(bytes.data(), bytes.size());
    if (got < 0)
        throw unreadable();
    bytes.truncate(got);
    bytes += file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw unreadable();
    return bytes;
}

void showInvalidFormat(OperatorInterface& ui, const QString& file)
{
    ui.messageBox(QStringLiteral("Invalid Input file format: ") + file, kProgramTitle, MessageIcon::Critical);
}

QByteArray readAnsiBytes(OperatorInterface& ui, const QString& path, qint64 longest)
{
    try {
        return readBytes(path, longest);
    } catch (const InputUnreadable&) {
        showInvalidFormat(ui, path);
        throw;
    }
}

// The UTF-16 decoders drop the mark themselves.
std::optional<QString> decodeUtf16(const QByteArray& bytes)
{
    if (bytes.startsWith("\xFF\xFE"))
        return QStringDecoder(QStringDecoder::Utf16LE).decode(bytes.sliced(2));
    if (bytes.startsWith("\xFE\xFF"))
        return QStringDecoder(QStringDecoder::Utf16BE).decode(bytes.sliced(2));
    return std::nullopt;
}

} // namespace

QString DecodeUtf8(QByteArrayView bytes)
{
    QStringDecoder utf8(
        QStringDecoder::Utf8, QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    // Decoded into room made beforehand, so that the room can be advised.
    QString text(utf8.requiredSpace(bytes.size()), Qt::Uninitialized);
    AdviseHugePages(text.data(), std::size_t(text.size()) * sizeof(QChar));
    const QChar* end = utf8.appendToBuffer(text.data(), bytes);
    text.truncate(end - text.constData());
    return text;
}

QString DecodeUtf8(QIODevice& device, qint64 sizeHint, qsizetype chunk)
{
    // Each byte gives at most one UTF-16 unit: sized exactly, the text never
    // moves unless the file grows while it is read.
    QString text(std::max<qint64>(sizeHint, 0), Qt::Uninitialized);
    AdviseHugePages(text.data(), std::size_t(text.size()) * sizeof(QChar));
    qsizetype used = 0;
    const auto decode = [&](QByteArrayView bytes) {
        if (used + bytes.size() > text.size())
            text.resize(std::max(used + bytes.size(), text.size() + text.size() / 2));
        QStringDecoder utf8(
            QStringDecoder::Utf8, QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
        used = utf8.appendToBuffer(text.data() + used, bytes) - text.constData();
    };
    // Pieces end just after an ASCII byte: there no sequence is open, so each
    // piece decodes exactly as it does within the whole, cut-off sequences and
    // all, and the bytes are never held whole beside their text.
    QByteArray pending;
    QByteArray piece(chunk, Qt::Uninitialized);
    for (;;) {
        const qint64 got = device.read(piece.data(), piece.size());
        if (got <= 0)
            break;
        pending.append(piece.constData(), got);
        qsizetype cut = pending.size();
        while (cut > 0 && static_cast<unsigned char>(pending[cut - 1]) >= 0x80)
            --cut;
        if (cut == 0)
            continue;
        decode(QByteArrayView(pending).first(cut));
        pending.remove(0, cut);
    }
    decode(pending);
    text.truncate(used);
    return text;
}

void NormalizeLineEnds(QString& text)
{
    qsizetype lone = 0;
    for (qsizetype i = text.indexOf(u'\n'); i >= 0; i = text.indexOf(u'\n', i + 1)) {
        if (i == 0 || text[i - 1] != u'\r')
            ++lone;
    }
    if (lone == 0)
        return;
    QString normalized;
    normalized.reserve(text.size() + lone);
    qsizetype from = 0;
    for (qsizetype i = text.indexOf(u'\n'); i >= 0; i = text.indexOf(u'\n', i + 1)) {
        if (i > 0 && text[i - 1] == u'\r')
            continue;
        normalized.append(QStringView(text).sliced(from, i - from));
        normalized.append(u"\r\n");
        from = i + 1;
    }
    normalized.append(QStringView(text).sliced(from));
    text = std::move(normalized);
}

namespace {

// A UTF-8 run's text read a piece at a time, so that a large input is not
// held as bytes and as text at once; nothing when the file starts with a
// UTF-16 mark, which the whole-file path decodes.
std::optional<QString> readUtf8Text(const QString& path, qint64 longest)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw InputUnreadable(QStringLiteral("%1: %2").arg(path, file.errorString()).toStdString());
    if (file.size() > longest)
        throw tooLong(path, QStringLiteral("%1 bytes").arg(file.size()), longest);
    const QByteArray head = file.peek(2);
    if (head.startsWith("\xFF\xFE") || head.startsWith("\xFE\xFF"))
        return std::nullopt;
    QString text = DecodeUtf8(file, file.size(), kInputPiece);
    if (file.error() != QFileDevice::NoError)
        throw InputUnreadable(QStringLiteral("%1: %2").arg(path, file.errorString()).toStdString());
    return text;
}

} // namespace

QString LoadInputText(OperatorInterface& ui, const QString& path, bool utf8Input, qint64 longest)
{
    std::optional<QString> utf8 = utf8Input ? readUtf8Text(path, longest) : std::nullopt;
    const QByteArray bytes = utf8 ? QByteArray()
        : utf8Input               ? readBytes(path, longest)
                                  : readAnsiBytes(ui, path, longest);
    QString text;
    if (utf8)
        text = std::move(*utf8); // a UTF-8 mark stays on this path
    else if (std::optional<QString> utf16 = decodeUtf16(bytes))
        text = std::move(*utf16);
    else if (bytes.startsWith("\xEF\xBB\xBF")) // the mark read as Windows-1252: three exact characters
        text = DecodeUtf8(bytes).mid(1);
    else
        text = DecodeWindows1252(bytes);
    NormalizeLineEnds(text);
    // Line ends read as CR LF can make the text longer than the file.
    if (text.size() > longest)
        throw tooLong(
            path, QStringLiteral("%1 characters with its line ends read as CR LF").arg(text.size()), longest);
    return text;
}
