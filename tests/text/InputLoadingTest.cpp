#include "text/InputLoading.h"

#include "support/RecordingOperator.h"
#include "support/TempDir.h"
#include "text/xmlClass.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

struct InputLoading : ::testing::Test {
    TempDir dir;
    ToolkitState state;
    RecordingOperator ui;
    QString appPath = dir.path();
    xmlClass xml { state, ui, appPath };
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
    std::int16_t fileNo = 0;
    const QString text = xml.GetFileContent(path, fileNo);
    EXPECT_EQ(fileNo, 1);
    ASSERT_EQ(text.size(), bytes.size());
    const std::pair<int, char16_t> rows[] = {
        { 0x80, 0x20AC },
        { 0x81, 0x0081 },
        { 0x85, 0x2026 },
        { 0x8A, 0x0160 },
        { 0x8D, 0x008D },
        { 0x91, 0x2018 },
        { 0x96, 0x2013 },
        { 0x99, 0x2122 },
        { 0x9D, 0x009D },
        { 0x9F, 0x0178 },
    };
    for (const auto& [byte, expected] : rows)
        EXPECT_EQ(text[3 + byte - 0x80].unicode(), expected) << std::hex << byte;
    EXPECT_TRUE(text.endsWith(QStringView(u"\u00E9\u00FF</p>")));
    EXPECT_TRUE(ui.messages.isEmpty());

    fileNo = 5;
    xml.GetFileContent(path, fileNo);
    EXPECT_EQ(fileNo, 5); // a given handle number is kept
}

TEST_F(InputLoading, UnreadableFileGivesTheMessageAndEmptyText)
{
    const QString path = dir.path() + "missing.sgm";
    std::int16_t fileNo = 0;
    EXPECT_EQ(xml.GetFileContent(path, fileNo), "");
    EXPECT_EQ(LoadInputText(xml, path, false), "");
    EXPECT_EQ(LoadInputText(xml, path, true), "");
    const RecordedMessage expected { "Invalid Input file format: " + path, kProgramTitle,
        MessageIcon::Critical };
    EXPECT_EQ(ui.messages, (QList<RecordedMessage> { expected, expected })); // the UTF-8 reader stays silent
}

TEST_F(InputLoading, ByteOrderMarkIsDroppedOnlyOnTheAnsiPath)
{
    const QByteArray body = "<p>caf\xC3\xA9</p>\r\nline 2";
    const QString withMark = dir.write("bom.sgm", kBom + body);
    const QString withoutMark = dir.write("plain.sgm", body);
    const QString expected = QString::fromUtf8(body);

    EXPECT_EQ(LoadInputText(xml, withMark, false), expected);
    EXPECT_EQ(LoadInputText(xml, withoutMark, true), expected);
    EXPECT_EQ(LoadInputText(xml, withMark, true), QChar(0xFEFF) + expected);
    // Without the mark an ANSI run reads the UTF-8 bytes as Windows-1252.
    EXPECT_EQ(LoadInputText(xml, withoutMark, false), QString::fromLatin1(body));
}

TEST_F(InputLoading, Utf8DecodingKeepsLineEndsAndReplacesBadBytes)
{
    const std::pair<QByteArray, QString> rows[] = {
        { "a\nb\nc", "a\nb\nc" }, // lone LF kept: one line for the CR LF split
        { "a\r\nb", "a\r\nb" },
        { "x\xFFy", QString("x") + QChar(0xFFFD) + "y" }, // invalid byte
        { "\xE2\x82\xAC", QString(QChar(0x20AC)) },
        { "", "" },
    };
    for (const auto& [bytes, expected] : rows) {
        EXPECT_EQ(DecodeUtf8(bytes), expected) << bytes.toHex().constData();
        EXPECT_EQ(ReadUtf8File(dir.write("u.txt", bytes)), expected) << bytes.toHex().constData();
    }
    const QString loneLf = LoadInputText(xml, dir.write("lf.sgm", "<p>one</p>\n<p>two</p>\n"), false);
    EXPECT_EQ(loneLf.split("\r\n").size(), 1);
}

TEST_F(InputLoading, ConverterRouteReadsTheTmpFileAndLeavesIt)
{
    const QString converter
        = dir.write("Convert2ANSI", "#!/bin/sh\nprintf 'conv\\200 %s' \"$1\" > \"$1.tmp\"\n");
    QFile::setPermissions(converter, QFile::permissions(converter) | QFileDevice::ExeOwner);
    const QString input = dir.write("doc.rtf", "{\\rtf1}");
    EXPECT_EQ(xml.GetFileRTB(input), QString("conv") + QChar(0x20AC) + " " + input);
    EXPECT_TRUE(QFile::exists(input + ".tmp"));
    EXPECT_TRUE(ui.messages.isEmpty());

    QFile::remove(converter);
    QFile::remove(input + ".tmp");
    EXPECT_EQ(xml.GetFileRTB(input), "");
    ASSERT_EQ(ui.messages.size(), 1);
    EXPECT_EQ(ui.messages[0].text, "Invalid Input file format: " + input);
}
