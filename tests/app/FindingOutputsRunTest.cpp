#include "support/Installation.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <gtest/gtest.h>

// The machine-readable outputs of real runs against the fixed reports of the
// same runs.
namespace {

// A footnote rule, and special characters that make errors and warnings
// found by a whole-file check.
void prepare(Installation& inst)
{
    inst.appendIni("[I/O PATHS]\r\nXYCOORDINATES = yes\r\n");
    inst.set("INPUTTYPE", "FILES");
    inst.declareRoutines("<fn> | UNDELFNREF | E\r\n");
    inst.writeSpecialCharacters(
        "\"(tab)\",\"Tab character found\",\"ERROR\",\"I\"\r\n"
        "\"(space)(space)\",\"Double space found, a message long enough to be cut in the report\","
        "\"WARNING\",\"I\"\r\n");
}

const QByteArray kFirst = "<doc>\r\n<fn fnref=\"1\">1 x</fn>  y\r\n\tz  w\r\n</doc>\r\n";
const QByteArray kSecond = "<doc>\r\n<p>a\tb</p>\r\n</doc>\r\n";

struct Entry {
    std::int64_t line;
    int column;
    QString kind; // "error" or "warning"
    QString message; // as the report shows it: cut to 53 characters
    QString data;
    bool operator==(const Entry&) const = default;
};

void PrintTo(const Entry& e, std::ostream* os)
{
    *os << e.line << ":" << e.column << " " << e.kind.toStdString() << " " << e.message.toStdString() << " | "
        << e.data.toStdString();
}

// The entries of a report in column mode: line, column, kind, message, data.
QList<Entry> reportEntries(const QString& path)
{
    static const QRegularExpression entry(R"(^(\d{10}) - (\d{5}) - ([EW]) / (.{1,53}?) +- (.*)$)");
    QList<Entry> entries;
    for (const QString& line : QString::fromUtf8(Installation::read(path)).split("\r\n")) {
        const QRegularExpressionMatch match = entry.match(line);
        if (match.hasMatch()) {
            entries.append({ match.captured(1).toLongLong(), match.captured(2).toInt(),
                match.captured(3) == "E" ? "error" : "warning", match.captured(4).trimmed(),
                match.captured(5) });
        }
    }
    return entries;
}

QList<Entry> jsonEntries(const QJsonObject& file, const QString& kind)
{
    QList<Entry> entries;
    for (const QJsonValue& f : file["findings"].toArray()) {
        if (f["severity"] == kind) {
            entries.append({ f["line"].toInteger(), f["column"].toInt(), kind,
                f["message"].toString().left(53).trimmed(), f["data"].toString() });
        }
    }
    return entries;
}

QList<Entry> sarifEntries(const QJsonObject& sarif, const QString& uriEnd, const QString& kind)
{
    QList<Entry> entries;
    for (const QJsonValue& result : sarif["runs"][0]["results"].toArray()) {
        const QJsonObject location = result["locations"][0]["physicalLocation"].toObject();
        if (result["level"] != kind || !location["artifactLocation"]["uri"].toString().endsWith(uriEnd))
            continue;
        const QJsonObject region = location["region"].toObject();
        entries.append({ region["startLine"].toInteger(), region["startColumn"].toInt(), kind,
            result["message"]["text"].toString().left(53).trimmed(), region["snippet"]["text"].toString() });
    }
    return entries;
}

QJsonObject readJson(const QString& path)
{
    return QJsonDocument::fromJson(Installation::read(path)).object();
}

} // namespace

TEST(FindingOutputsRun, JsonAndSarifAgreeWithTheReportsOfASingleFile)
{
    Installation inst;
    prepare(inst);
    const QString input = inst.writeInput("a.xml", kFirst);
    const QString json = inst.root() + "run.json";
    const QString sarif = inst.root() + "run.sarif";
    const QString html = inst.root() + "run.html";
    const auto result = inst.run({ "--json", json, "--sarif=" + sarif, "--html", html, input + "|T" });
    ASSERT_EQ(result.exitCode, 1) << result.standardError.toStdString();

    const QList<Entry> errors = reportEntries(inst.workPath() + "a.ERR");
    const QList<Entry> warnings = reportEntries(inst.workPath() + "a.WRN");
    ASSERT_EQ(errors.size(), 2); // the footnote and the tab
    ASSERT_EQ(warnings.size(), 2); // two double spaces

    const QJsonObject document = readJson(json);
    const QJsonArray files = document["files"].toArray();
    ASSERT_EQ(files.size(), 1);
    const QJsonObject file = files[0].toObject();
    EXPECT_EQ(file["path"].toString(), input);
    EXPECT_EQ(file["errors"].toInt(), 2);
    EXPECT_EQ(file["warnings"].toInt(), 2);
    EXPECT_EQ(jsonEntries(file, "error"), errors);
    EXPECT_EQ(jsonEntries(file, "warning"), warnings);

    const QJsonObject log = readJson(sarif);
    EXPECT_EQ(sarifEntries(log, "/input/a.xml", "error"), errors);
    EXPECT_EQ(sarifEntries(log, "/input/a.xml", "warning"), warnings);
    EXPECT_TRUE(Installation::read(html).contains("UNDELFNREF"));
}

TEST(FindingOutputsRun, ABatchKeepsEachFileWithItsOwnFindings)
{
    Installation inst;
    prepare(inst);
    inst.writeInput("a.xml", kFirst);
    inst.writeInput("b.xml", kSecond);
    inst.writeInput("c.xml", "<doc/>\r\n");
    const QString json = inst.root() + "batch.json";
    const auto result = inst.run({ "--json", json, "--batch", inst.inputPath() });
    ASSERT_EQ(result.exitCode, 1) << result.standardError.toStdString();

    const QJsonArray files = readJson(json)["files"].toArray();
    ASSERT_EQ(files.size(), 3);
    for (int i = 0; i < 3; ++i) {
        const QJsonObject file = files[i].toObject();
        const QString base = QString(QChar(u'a' + i));
        SCOPED_TRACE(base.toStdString());
        EXPECT_EQ(file["path"].toString(), inst.inputPath() + base + ".xml");
        EXPECT_EQ(jsonEntries(file, "error"), reportEntries(inst.workPath() + base + ".ERR"));
        EXPECT_EQ(jsonEntries(file, "warning"), reportEntries(inst.workPath() + base + ".WRN"));
    }
    EXPECT_EQ(files[2]["findings"].toArray().size(), 0);
}
