#include "report/FindingOutputs.h"

#include "support/TempDir.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace {

const QDateTime kStart(QDate(2026, 3, 1), QTime(22, 5, 0), Qt::OffsetFromUTC, 3600);
const QDateTime kEnd(QDate(2026, 3, 2), QTime(6, 40, 30), Qt::OffsetFromUTC, 3600);

Finding finding(
    FindingKind kind, std::int64_t line, std::int32_t column, const QString& message, const QString& routine)
{
    return { kind, line, column, message, "data " + message, routine };
}

// Two files, the second failed, and a finding that came between them, fed
// as a run feeds a sink.
RunFindings sampleRun(FindingOutputs& outputs)
{
    outputs.onRunStarted("JRNL", kStart);
    outputs.onFileStarted("in/a b.xml");
    outputs.onFinding(finding(FindingKind::Error, 3, 7, "Bad <tag> & \"quote\"", "NOHRT"));
    outputs.onFinding(
        finding(FindingKind::Warning, 0, 1, "Too many hard returns", "CheckMultipleHardReturns"));
    outputs.onFinding(finding(FindingKind::Warning, 5, 0, "No column", "NOHRT"));
    outputs.onFileEnded();
    outputs.onFinding(finding(FindingKind::Warning, 1, 1, "Image without callout", "CheckImageValidation"));
    outputs.onFileStarted("/abs/c.xml");
    outputs.onFinding(finding(FindingKind::Error, 9, 2, "Bell \x07 here", "TEXTVALIDITY"));
    outputs.onFileFailed({ "TEXTVALIDITY: \"<(a+)+\" broke" });
    outputs.onFileEnded();
    outputs.onRunEnded(kEnd, true);
    return outputs.run();
}

QJsonObject parse(const QByteArray& bytes)
{
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &problem);
    EXPECT_EQ(problem.error, QJsonParseError::NoError) << problem.errorString().toStdString();
    return document.object();
}

} // namespace

TEST(FindingOutputs, SarifHasWhatViewersNeed)
{
    FindingOutputs outputs("Quorvane", "1.2", {});
    const QJsonObject sarif = parse(FindingsSarif(sampleRun(outputs)));

    const QJsonArray runs = sarif["runs"].toArray();
    ASSERT_EQ(runs.size(), 1);
    const QJsonObject run = runs[0].toObject();
    EXPECT_EQ(run["invocations"][0]["startTimeUtc"].toString(), "2026-03-01T21:05:00Z");
    EXPECT_EQ(run["invocations"][0]["endTimeUtc"].toString(), "2026-03-02T05:40:30Z");

    // The rule list, each result's rule index, level and message, and the
    // region of a finding at line 0 are in the golden SARIF of the samples.
    const QJsonArray results = run["results"].toArray();
    ASSERT_EQ(results.size(), 5);

    struct Row {
        int result;
        QString uri; // empty: no location at all
        int startLine; // 0: no region
        int startColumn; // 0: no column
    };
    const Row rows[] = {
        { 0, "in/a%20b.xml", 3, 7 },
        { 2, "in/a%20b.xml", 5, 0 }, // column 0 leaves the column out
        { 3, "", 0, 0 }, // found outside any file
        { 4, "file:///abs/c.xml", 9, 2 },
    };
    for (const Row& row : rows) {
        const QJsonObject result = results[row.result].toObject();
        SCOPED_TRACE(row.result);
        if (row.uri.isEmpty()) {
            EXPECT_FALSE(result.contains("locations"));
            continue;
        }
        const QJsonObject location = result["locations"][0]["physicalLocation"].toObject();
        EXPECT_EQ(location["artifactLocation"]["uri"].toString(), row.uri);
        EXPECT_EQ(location.contains("region"), row.startLine > 0);
        if (row.startLine == 0)
            continue;
        const QJsonObject region = location["region"].toObject();
        EXPECT_EQ(region["startLine"].toInt(), row.startLine);
        EXPECT_EQ(region.contains("startColumn"), row.startColumn > 0);
        EXPECT_EQ(region["startColumn"].toInt(), row.startColumn);
    }

    // The failed file: the run did not execute successfully, and says why and where.
    const QJsonObject invocation = run["invocations"][0].toObject();
    EXPECT_FALSE(invocation["executionSuccessful"].toBool(true));
    const QJsonArray notifications = invocation["toolExecutionNotifications"].toArray();
    ASSERT_EQ(notifications.size(), 1);
    EXPECT_EQ(notifications[0]["level"].toString(), "error");
    EXPECT_EQ(notifications[0]["message"]["text"].toString(), "TEXTVALIDITY: \"<(a+)+\" broke");
    EXPECT_EQ(notifications[0]["locations"][0]["physicalLocation"]["artifactLocation"]["uri"].toString(),
        "file:///abs/c.xml");
}

// The golden runs pin the page of runs with findings: its tables, chart and
// escaping. What they never show is a failed file, a finding outside any
// file and a control character in the text.
TEST(FindingOutputs, HtmlMarksFailedFilesAndShowsControlCharacters)
{
    FindingOutputs outputs("Quorvane", "1.2", {});
    const QString html = QString::fromUtf8(FindingsHtml(sampleRun(outputs)));
    EXPECT_TRUE(html.contains(">(the run as a whole)</a></td>")) << html.toStdString();
    EXPECT_TRUE(html.contains(">/abs/c.xml</a> <span class=\"failed\">(failed)</span></td>"));
    EXPECT_TRUE(html.contains("Failed: TEXTVALIDITY: &quot;&lt;(a+)+&quot; broke"));
    EXPECT_TRUE(html.contains(QString("Bell ") + QChar(0x2407) + " here")); // the bell made visible
}

TEST(FindingOutputs, TextIsWholeCharactersWhereverItWasCutOrBroken)
{
    const QString pair = QString::fromUcs4(U"\U0001D465");
    const QString a(246, 'a');
    const QChar high(0xD835);
    const QChar low(0xDC65);
    struct Row {
        QString data;
        QString shown;
    };
    const Row rows[] = {
        { a + "aaa" + pair + "b", a + "aaa" }, // the cut would fall inside the pair
        { a + "aa" + pair + "b", a + "aa" + pair }, // the pair ends at the cut
        { a + "\r\n" + pair, a + "..." }, // a shown line break moves the pair onto the cut
        { "x" + QString(high) + "y" + QString(low), "x\uFFFDy\uFFFD" }, // lone halves of the input
    };
    for (const Row& row : rows) {
        FindingOutputs outputs("Quorvane", "1.2", {});
        outputs.onRunStarted("T", kStart);
        outputs.onFileStarted("in/" + QString(high) + ".xml");
        outputs.onFinding({ FindingKind::Error, 1, 1, "lone " + QString(low), row.data, "TEXTVALIDITY" });
        outputs.onFileEnded();
        outputs.onRunEnded(kEnd, true);
        for (const QByteArray& bytes :
            { FindingsJson(outputs.run()), FindingsSarif(outputs.run()), FindingsHtml(outputs.run()) })
            EXPECT_TRUE(QUtf8StringView(bytes).isValidUtf8()) << row.shown.size();
        const QJsonObject file = parse(FindingsJson(outputs.run()))["files"][0].toObject();
        EXPECT_EQ(file["path"].toString(), "in/\uFFFD.xml");
        EXPECT_EQ(file["findings"][0]["message"].toString(), "lone \uFFFD");
        EXPECT_EQ(file["findings"][0]["data"].toString(), row.shown) << row.shown.size();
    }
}
