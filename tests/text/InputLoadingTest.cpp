#include "text/InputLoading.h"

#include "support/RecordingOperator.h"
#include "support/TempDir.h"
#include "text/Encoding.h"

#include <QBuffer>
#include <QFile>
#include <QStringEncoder>
#include <gtest/gtest.h>
#include <random>

namespace {

struct InputLoading : ::testing::Test {
    TempDir dir;
    RecordingOperator ui;
};

const QByteArray kBom = "\xEF\xBB\xBF";

} // namespace

TEST_F(InputLoading, AnsiDecodesTheWindows1252HighBlock)
{
    QByteArray bytes = "<p>";
    for (int b = 0x80; b <= 0x9F; ++b)
        bytes += char(b);
    bytes += "\xE9\xFF</p>";
    const QString path = dir.write("in.sgm", bytes);
    const QString text = LoadInputText(ui, path, false);
    ASSERT_EQ(text.size(), bytes.size());
    const std::pair<int, char16_t> rows[] = {
        { 0x80, 0x20AC },
        { 0x81, 0x0081 },
        { 0x9F, 0x0178 },
    };
    for (const auto& [byte, expected] : rows)
        EXPECT_EQ(text[3 + byte - 0x80].unicode(), expected) << std::hex << byte;
    EXPECT_TRUE(text.endsWith(QStringView(u"\u00E9\u00FF</p>")));
    EXPECT_TRUE(ui.messages.isEmpty());
}

// Long texts are decoded block by block: a byte decodes the same wherever it
// stands, at a block's edge or far from any other high byte.
TEST(DecodeWindows1252, EveryByteAnywhereDecodesAsOnItsOwn)
{
    QByteArray bytes;
    for (int round = 0; round < 7; ++round) {
        bytes += QByteArray(round * 13, 'a');
        for (int b = 0; b < 256; ++b)
            bytes += char((b * 37 + round) % 256);
    }
    const QString text = DecodeWindows1252(bytes);
    ASSERT_EQ(text.size(), bytes.size());
    for (qsizetype i = 0; i < bytes.size(); ++i)
        ASSERT_EQ(text[i], DecodeWindows1252(bytes.sliced(i, 1)).front()) << i;
}

TEST_F(InputLoading, UnreadableFileFailsInsteadOfReadingAsEmpty)
{
    const QString path = dir.path() + "missing.sgm";
    EXPECT_THROW(LoadInputText(ui, path, false), InputUnreadable);
    EXPECT_THROW(LoadInputText(ui, path, true), InputUnreadable);
    const RecordedMessage expected { "Invalid Input file format: " + path, kProgramTitle,
        MessageIcon::Critical };
    // The UTF-8 path has no message of its own: the driver reports the failure.
    EXPECT_EQ(ui.messages, QList<RecordedMessage> { expected });
}

TEST_F(InputLoading, ByteOrderMarkIsDroppedOnlyOnTheAnsiPath)
{
    const QByteArray body = "<p>caf\xC3\xA9</p>\r\nline 2";
    const QString withMark = dir.write("bom.sgm", kBom + body);
    const QString withoutMark = dir.write("plain.sgm", body);
    const QString expected = QString::fromUtf8(body);

    EXPECT_EQ(LoadInputText(ui, withMark, false), expected);
    EXPECT_EQ(LoadInputText(ui, withoutMark, true), expected);
    EXPECT_EQ(LoadInputText(ui, withMark, true), QChar(0xFEFF) + expected);
    // Without the mark an ANSI run reads the UTF-8 bytes as Windows-1252.
    EXPECT_EQ(LoadInputText(ui, withoutMark, false), QString::fromLatin1(body));
}

TEST_F(InputLoading, Utf8DecodingKeepsLineEndsAndReplacesBadBytes)
{
    const std::pair<QByteArray, QString> rows[] = {
        { "a\nb\nc", "a\nb\nc" }, // lone LF kept: one line for the CR LF split
        { "x\xFFy", QString("x") + QChar(0xFFFD) + "y" }, // invalid byte
        { "\xFF\xFE\xFD", QString(3, QChar(0xFFFD)) }, // as many characters as bytes
        { "\xF0\x9F\x98\x80!", QString::fromUcs4(U"\U0001F600!") }, // two UTF-16 units
        { "ab\xE2\x82", QString("ab") + QString(2, QChar(0xFFFD)) }, // cut off: each byte replaced
        { "", "" },
    };
    for (const auto& [bytes, expected] : rows)
        EXPECT_EQ(DecodeUtf8(bytes), expected) << bytes.toHex().constData();
    // A file large enough to be read and decoded into advised buffers.
    QByteArray large;
    while (large.size() < (6 << 20))
        large += "<p>caf\xC3\xA9 \xE2\x80\x9Cquoted\xE2\x80\x9D \xF0\x9F\x98\x80 \xFF</p>\r\n";
    EXPECT_EQ(LoadInputText(ui, dir.write("large.txt", large), true), QString::fromUtf8(large));
}

// Read a piece at a time, every text decodes as it does whole: pieces cut
// inside a sequence, before a cut-off one or at a mark must not show.
TEST(DecodeUtf8, PieceByPieceEqualsWhole)
{
    const char alphabet[] = { 'a', '\r', '\n', '\x80', '\xBF', '\xC3', '\xA9', '\xE2', '\x82', '\xAC', '\xF0',
        '\x9F', '\xEF', '\xBB', '\xFF' };
    std::mt19937 random(7);
    for (int round = 0; round < 400; ++round) {
        QByteArray bytes;
        const int length = int(random() % 24);
        for (int i = 0; i < length; ++i)
            bytes += alphabet[random() % sizeof alphabet];
        for (const qsizetype piece : { 1, 2, 3, 5 }) {
            QBuffer device(&bytes);
            device.open(QIODevice::ReadOnly);
            EXPECT_EQ(DecodeUtf8(device, round % 2 ? bytes.size() : 0, piece), DecodeUtf8(bytes))
                << bytes.toHex().constData() << " in pieces of " << piece;
        }
    }
}

TEST_F(InputLoading, LoneLineFeedsAreReadAsCarriageReturnLineFeed)
{
    const std::pair<QString, QString> rows[] = {
        { "<p>one</p>\n<p>two</p>\n", "<p>one</p>\r\n<p>two</p>\r\n" },
        { "a\r\nb\nc", "a\r\nb\r\nc" }, // mixed ends: only the lone LF changes
        { "a\rb\r\n", "a\rb\r\n" }, // a lone CR stays
        { "", "" },
    };
    for (const auto& [text, expected] : rows) {
        QString normalized = text;
        NormalizeLineEnds(normalized);
        EXPECT_EQ(normalized, expected) << qPrintable(text);
        for (const bool utf8 : { false, true })
            EXPECT_EQ(LoadInputText(ui, dir.write("lf.sgm", text.toUtf8()), utf8), expected);
    }
}

TEST_F(InputLoading, Utf16WithByteOrderMarkIsDecodedWhateverTheMode)
{
    const QString text = QString("<p>caf") + QChar(0xE9) + "</p>\r\n" + QChar(0x20AC);
    const QByteArray little
        = QStringEncoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom)(text);
    const QByteArray big = QStringEncoder(QStringConverter::Utf16BE, QStringConverter::Flag::WriteBom)(text);
    for (const bool utf8 : { false, true }) {
        EXPECT_EQ(LoadInputText(ui, dir.write("le.sgm", little), utf8), text);
        EXPECT_EQ(LoadInputText(ui, dir.write("be.sgm", big), utf8), text);
    }
}

// Positions are 32-bit: a longer input is refused with its length and the
// limit named, before any of it is read (the big file here is sparse).
TEST_F(InputLoading, InputLongerThanPositionsCanAddressIsRefused)
{
    const QString big = dir.write("big.xml", "");
    ASSERT_TRUE(QFile::resize(big, kLongestInput + 1));
    const QString lines = dir.write("lines.xml", "a\nb\n"); // 4 bytes, 6 characters read
    const struct {
        QString path;
        qint64 longest;
        std::string says;
    } rows[] = {
        { big, kLongestInput, "is too long: 2147483647 bytes, more than the 2147483646 " },
        { lines, 5, "is too long: 6 characters with its line ends read as CR LF, more than the 5 " },
    };
    for (const auto& row : rows) {
        for (const bool utf8 : { true, false }) {
            try {
                LoadInputText(ui, row.path, utf8, row.longest);
                ADD_FAILURE() << row.says;
            } catch (const InputUnreadable& refused) {
                EXPECT_NE(std::string(refused.what()).find(row.says), std::string::npos) << refused.what();
            }
        }
    }
    EXPECT_EQ(LoadInputText(ui, lines, true, 6).size(), 6);
}
