#include "report/FindingOutputs.h"

#include "core/Paths.h"
#include "report/ReportFormat.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QUrl>
#include <algorithm>
#include <map>

namespace {

QString severityName(FindingKind kind)
{
    return kind == FindingKind::Error ? QStringLiteral("error") : QStringLiteral("warning");
}

// Local time with its offset, so a reader elsewhere knows when the run was.
QString localTime(const QDateTime& time)
{
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate);
}

QString utcTime(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODate);
}

struct RoutineCount {
    int errors = 0;
    int warnings = 0;
};

// Findings per routine name, by name, so every output lists them alike.
std::map<QString, RoutineCount> countsByRoutine(const RunFindings& run)
{
    std::map<QString, RoutineCount> counts;
    for (const FileFindings& file : run.files) {
        for (const Finding& finding : file.findings) {
            RoutineCount& count = counts[finding.routine];
            ++(finding.kind == FindingKind::Error ? count.errors : count.warnings);
        }
    }
    return counts;
}

// --- JSON ---------------------------------------------------------------------------

QJsonObject findingJson(const Finding& finding)
{
    return {
        { QStringLiteral("severity"), severityName(finding.kind) },
        { QStringLiteral("line"), double(finding.line) },
        { QStringLiteral("column"), finding.column },
        { QStringLiteral("message"), finding.message },
        { QStringLiteral("data"), finding.data },
        { QStringLiteral("routine"), finding.routine },
    };
}

QJsonObject fileJson(const FileFindings& file)
{
    QJsonArray findings;
    for (const Finding& finding : file.findings)
        findings.append(findingJson(finding));
    QJsonObject object {
        { QStringLiteral("path"), file.path },
        { QStringLiteral("errors"), file.errors },
        { QStringLiteral("warnings"), file.warnings },
        { QStringLiteral("failed"), !file.failures.isEmpty() },
        { QStringLiteral("findings"), findings },
    };
    if (!file.failures.isEmpty())
        object.insert(QStringLiteral("failures"), QJsonArray::fromStringList(file.failures));
    return object;
}

// --- SARIF ----------------------------------------------------------------------------

// A relative path stays relative (viewers resolve it against the checkout);
// an absolute one becomes a file URI. Either is percent-encoded.
QString artifactUri(const QString& path)
{
    if (QDir::isAbsolutePath(path))
        return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
    return QString::fromLatin1(QUrl::toPercentEncoding(path, "/"));
}

QJsonObject sarifLocation(const FileFindings& file, const Finding& finding)
{
    QJsonObject physical { { QStringLiteral("artifactLocation"),
        QJsonObject { { QStringLiteral("uri"), artifactUri(file.path) } } } };
    // Viewers refuse a region that starts before line 1 or column 1; a check
    // that names no place keeps the file alone.
    if (finding.line >= 1) {
        QJsonObject region { { QStringLiteral("startLine"), double(finding.line) } };
        if (finding.column >= 1)
            region.insert(QStringLiteral("startColumn"), finding.column);
        if (!finding.data.isEmpty())
            region.insert(
                QStringLiteral("snippet"), QJsonObject { { QStringLiteral("text"), finding.data } });
        physical.insert(QStringLiteral("region"), region);
    }
    return { { QStringLiteral("physicalLocation"), physical } };
}

QJsonObject sarifResult(const FileFindings& file, const Finding& finding, int ruleIndex)
{
    QJsonObject result {
        { QStringLiteral("ruleId"), finding.routine },
        { QStringLiteral("ruleIndex"), ruleIndex },
        { QStringLiteral("level"), severityName(finding.kind) },
        // SARIF wants a message text; a table row may leave its message empty.
        { QStringLiteral("message"),
            QJsonObject { { QStringLiteral("text"),
                finding.message.isEmpty() ? QStringLiteral("(no message)") : finding.message } } },
    };
    if (!file.path.isEmpty())
        result.insert(QStringLiteral("locations"), QJsonArray { sarifLocation(file, finding) });
    return result;
}

// --- HTML -------------------------------------------------------------------------------

// Everything the page shows comes from tables and input files: all of it is
// escaped. Control characters show as their visible pictures, so the page
// stays well-formed and a stray character can still be seen.
QString escaped(const QString& text)
{
    QString out;
    out.reserve(text.size() + text.size() / 8);
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'&':
            out += QStringLiteral("&amp;");
            break;
        case u'<':
            out += QStringLiteral("&lt;");
            break;
        case u'>':
            out += QStringLiteral("&gt;");
            break;
        case u'"':
            out += QStringLiteral("&quot;");
            break;
        case u'\'':
            out += QStringLiteral("&#39;");
            break;
        default:
            if (c.unicode() < 0x20 && c != u'\t')
                out += QChar(0x2400 + c.unicode());
            else if (c.unicode() == 0x7F)
                out += QChar(0x2421);
            else
                out += c;
        }
    }
    return out;
}

const char* const kPageStyle = R"(
body { font-family: system-ui, sans-serif; margin: 2em; color: #222; }
h1 { margin-bottom: 0.2em; }
.run { color: #555; margin-top: 0; }
table { border-collapse: collapse; margin: 0.5em 0 1.5em; }
th, td { border: 1px solid #ccc; padding: 0.25em 0.6em; text-align: left; vertical-align: top; }
th { background: #f0f0f0; cursor: pointer; user-select: none; }
th[aria-sort=ascending]::after { content: " \25B2"; }
th[aria-sort=descending]::after { content: " \25BC"; }
td.number { text-align: right; font-variant-numeric: tabular-nums; }
td.data { font-family: monospace; white-space: pre-wrap; word-break: break-all; max-width: 40em; }
tr.error td.kind { color: #b00020; font-weight: bold; }
tr.warning td.kind { color: #8a5a00; }
svg rect.error { fill: #c62828; }
svg rect.warning { fill: #f0a020; }
svg text { font-size: 12px; fill: #222; }
.swatch { display: inline-block; width: 0.9em; height: 0.9em; vertical-align: middle; margin: 0 0.3em 0 0.8em; }
.swatch.error { background: #c62828; }
.swatch.warning { background: #f0a020; }
.failed { color: #b00020; font-weight: bold; }
)";

// Sorting by a click on a column heading: numbers as numbers, the rest as
// text. Written without "<" and "&" so the page also reads as XML.
const char* const kPageScript = R"(
document.querySelectorAll("table.sortable th").forEach(function (heading) {
  heading.addEventListener("click", function () {
    var table = heading.closest("table");
    var body = table.tBodies[0];
    var column = Array.prototype.indexOf.call(heading.parentNode.children, heading);
    var numeric = heading.dataset.type === "number";
    var ascending = heading.getAttribute("aria-sort") !== "ascending";
    var rows = Array.prototype.slice.call(body.rows);
    rows.sort(function (a, b) {
      var x = a.cells[column].textContent;
      var y = b.cells[column].textContent;
      var order = numeric ? Number(x) - Number(y) : x.localeCompare(y);
      return ascending ? order : -order;
    });
    rows.forEach(function (row) { body.appendChild(row); });
    table.querySelectorAll("th").forEach(function (other) { other.removeAttribute("aria-sort"); });
    heading.setAttribute("aria-sort", ascending ? "ascending" : "descending");
  });
});
)";

QString cell(const QString& text, const char* cssClass = nullptr)
{
    if (cssClass)
        return QStringLiteral("<td class=\"%1\">%2</td>").arg(QLatin1String(cssClass), escaped(text));
    return QStringLiteral("<td>") + escaped(text) + QStringLiteral("</td>");
}

QString numberCell(qint64 value)
{
    return QStringLiteral("<td class=\"number\">%1</td>").arg(value);
}

QString fileLabel(const FileFindings& file)
{
    return file.path.isEmpty() ? QStringLiteral("(the run as a whole)") : file.path;
}

// Horizontal bars, errors then warnings, one per routine, scaled to the
// routine with the most findings.
QString routineChart(const RunFindings& run)
{
    const auto counts = countsByRoutine(run);
    if (counts.empty())
        return QStringLiteral("<p>No findings.</p>\n");
    int most = 1;
    for (const auto& [routine, count] : counts)
        most = std::max(most, count.errors + count.warnings);
    constexpr int kLabelWidth = 230;
    constexpr int kBarWidth = 420;
    constexpr int kRowHeight = 24;
    const int height = int(counts.size()) * kRowHeight + 8;
    QString svg = QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"%2\" "
                                 "role=\"img\" aria-label=\"Findings per routine\">\n")
                      .arg(kLabelWidth + kBarWidth + 80)
                      .arg(height);
    int y = 4;
    for (const auto& [routine, count] : counts) {
        const int errorWidth = count.errors * kBarWidth / most;
        const int warningWidth = count.warnings * kBarWidth / most;
        const QString name = routine.isEmpty() ? QStringLiteral("(unnamed)") : routine;
        svg += QStringLiteral("<g><title>%1: %2 error(s), %3 warning(s)</title>")
                   .arg(escaped(name))
                   .arg(count.errors)
                   .arg(count.warnings);
        svg += QStringLiteral("<text x=\"0\" y=\"%1\">%2</text>").arg(y + 15).arg(escaped(name));
        svg += QStringLiteral("<rect class=\"error\" x=\"%1\" y=\"%2\" width=\"%3\" height=\"18\"/>")
                   .arg(kLabelWidth)
                   .arg(y)
                   .arg(errorWidth);
        svg += QStringLiteral("<rect class=\"warning\" x=\"%1\" y=\"%2\" width=\"%3\" height=\"18\"/>")
                   .arg(kLabelWidth + errorWidth)
                   .arg(y)
                   .arg(warningWidth);
        svg += QStringLiteral("<text x=\"%1\" y=\"%2\">%3</text></g>\n")
                   .arg(kLabelWidth + errorWidth + warningWidth + 6)
                   .arg(y + 15)
                   .arg(count.errors + count.warnings);
        y += kRowHeight;
    }
    return svg + QStringLiteral("</svg>\n");
}

QString filesTable(const RunFindings& run)
{
    QString html = QStringLiteral(
        "<table id=\"files\" class=\"sortable\">\n<thead><tr><th data-type=\"text\">File</th>"
        "<th data-type=\"number\">Errors</th><th data-type=\"number\">Warnings</th></tr></thead>\n<tbody>\n");
    for (std::size_t i = 0; i < run.files.size(); ++i) {
        const FileFindings& file = run.files[i];
        html += QStringLiteral("<tr><td><a href=\"#file-%1\">%2</a>%3</td>")
                    .arg(i + 1)
                    .arg(escaped(fileLabel(file)),
                        file.failures.isEmpty() ? QString()
                                                : QStringLiteral(" <span class=\"failed\">(failed)</span>"));
        html += numberCell(file.errors) + numberCell(file.warnings) + QStringLiteral("</tr>\n");
    }
    return html + QStringLiteral("</tbody>\n</table>\n");
}

QString fileSection(const FileFindings& file, std::size_t number)
{
    QString html = QStringLiteral("<h3 id=\"file-%1\">%2</h3>\n").arg(number).arg(escaped(fileLabel(file)));
    for (const QString& failure : file.failures)
        html += QStringLiteral("<p class=\"failed\">Failed: %1</p>\n").arg(escaped(failure));
    if (file.findings.isEmpty())
        return html + QStringLiteral("<p>No findings.</p>\n");
    html += QStringLiteral(
        "<table class=\"sortable findings\">\n<thead><tr><th data-type=\"number\">Line</th>"
        "<th data-type=\"number\">Column</th><th data-type=\"text\">Kind</th><th "
        "data-type=\"text\">Routine</th>"
        "<th data-type=\"text\">Message</th><th data-type=\"text\">Data</th></tr></thead>\n<tbody>\n");
    for (const Finding& finding : file.findings) {
        html += QStringLiteral("<tr class=\"%1\">").arg(severityName(finding.kind));
        html += numberCell(finding.line) + numberCell(finding.column);
        html += cell(severityName(finding.kind), "kind") + cell(finding.routine) + cell(finding.message)
            + cell(finding.data, "data") + QStringLiteral("</tr>\n");
    }
    return html + QStringLiteral("</tbody>\n</table>\n");
}

bool writeOutput(const QString& path, const QByteArray& bytes, QStringList& failures)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return true;
    failures.append(path + QStringLiteral(": ") + file.errorString());
    return false;
}

} // namespace

int RunFindings::errors() const
{
    int total = 0;
    for (const FileFindings& file : files)
        total += file.errors;
    return total;
}

int RunFindings::warnings() const
{
    int total = 0;
    for (const FileFindings& file : files)
        total += file.warnings;
    return total;
}

QByteArray FindingsJson(const RunFindings& run)
{
    QJsonArray files;
    for (const FileFindings& file : run.files)
        files.append(fileJson(file));
    const QJsonObject document {
        { QStringLiteral("tool"),
            QJsonObject {
                { QStringLiteral("name"), run.toolName }, { QStringLiteral("version"), run.toolVersion } } },
        { QStringLiteral("startTime"), localTime(run.startTime) },
        { QStringLiteral("endTime"), localTime(run.endTime) },
        { QStringLiteral("taskCode"), run.taskCode },
        { QStringLiteral("errors"), run.errors() },
        { QStringLiteral("warnings"), run.warnings() },
        { QStringLiteral("files"), files },
    };
    return QJsonDocument(document).toJson(QJsonDocument::Indented);
}

bool FindingsFromJson(const QJsonObject& document, RunFindings& run)
{
    const QJsonValue files = document.value(QStringLiteral("files"));
    if (!files.isArray() || !document.value(QStringLiteral("tool")).isObject())
        return false;
    const QJsonObject tool = document.value(QStringLiteral("tool")).toObject();
    run = {};
    run.toolName = tool.value(QStringLiteral("name")).toString();
    run.toolVersion = tool.value(QStringLiteral("version")).toString();
    run.taskCode = document.value(QStringLiteral("taskCode")).toString();
    run.startTime
        = QDateTime::fromString(document.value(QStringLiteral("startTime")).toString(), Qt::ISODate);
    run.endTime = QDateTime::fromString(document.value(QStringLiteral("endTime")).toString(), Qt::ISODate);
    for (const QJsonValue& fileValue : files.toArray()) {
        const QJsonObject file = fileValue.toObject();
        FileFindings& entry = run.files.emplace_back();
        entry.path = file.value(QStringLiteral("path")).toString();
        for (const QJsonValue& findingValue : file.value(QStringLiteral("findings")).toArray()) {
            const QJsonObject finding = findingValue.toObject();
            const bool error = finding.value(QStringLiteral("severity")).toString() == u"error";
            entry.findings.append({ error ? FindingKind::Error : FindingKind::Warning,
                static_cast<std::int64_t>(finding.value(QStringLiteral("line")).toDouble()),
                finding.value(QStringLiteral("column")).toInt(),
                finding.value(QStringLiteral("message")).toString(),
                finding.value(QStringLiteral("data")).toString(),
                finding.value(QStringLiteral("routine")).toString() });
            ++(error ? entry.errors : entry.warnings);
        }
    }
    return true;
}

QByteArray FindingsSarif(const RunFindings& run)
{
    std::map<QString, int> ruleIndex;
    QJsonArray rules;
    for (const auto& [routine, count] : countsByRoutine(run)) {
        ruleIndex[routine] = int(rules.size());
        rules.append(QJsonObject {
            { QStringLiteral("id"), routine },
            { QStringLiteral("shortDescription"), QJsonObject { { QStringLiteral("text"), routine } } },
        });
    }
    QJsonArray results;
    QJsonArray artifacts;
    for (const FileFindings& file : run.files) {
        if (!file.path.isEmpty())
            artifacts.append(QJsonObject { { QStringLiteral("location"),
                QJsonObject { { QStringLiteral("uri"), artifactUri(file.path) } } } });
        for (const Finding& finding : file.findings)
            results.append(sarifResult(file, finding, ruleIndex[finding.routine]));
    }
    const QJsonObject driver {
        { QStringLiteral("name"), run.toolName },
        { QStringLiteral("version"), run.toolVersion },
        { QStringLiteral("rules"), rules },
    };
    QJsonArray notifications;
    for (const FileFindings& file : run.files) {
        for (const QString& failure : file.failures) {
            notifications.append(QJsonObject {
                { QStringLiteral("level"), QStringLiteral("error") },
                { QStringLiteral("message"), QJsonObject { { QStringLiteral("text"), failure } } },
                { QStringLiteral("locations"),
                    QJsonArray { QJsonObject { { QStringLiteral("physicalLocation"),
                        QJsonObject { { QStringLiteral("artifactLocation"),
                            QJsonObject { { QStringLiteral("uri"), artifactUri(file.path) } } } } } } } },
            });
        }
    }
    QJsonObject invocation {
        { QStringLiteral("executionSuccessful"), notifications.isEmpty() },
        { QStringLiteral("startTimeUtc"), utcTime(run.startTime) },
        { QStringLiteral("endTimeUtc"), utcTime(run.endTime) },
    };
    if (!notifications.isEmpty())
        invocation.insert(QStringLiteral("toolExecutionNotifications"), notifications);
    QJsonObject sarifRun {
        { QStringLiteral("tool"), QJsonObject { { QStringLiteral("driver"), driver } } },
        { QStringLiteral("invocations"), QJsonArray { invocation } },
        { QStringLiteral("artifacts"), artifacts },
        { QStringLiteral("results"), results },
    };
    if (!run.taskCode.isEmpty())
        sarifRun.insert(
            QStringLiteral("properties"), QJsonObject { { QStringLiteral("taskCode"), run.taskCode } });
    const QJsonObject log {
        { QStringLiteral("$schema"), QStringLiteral("https://json.schemastore.org/sarif-2.1.0.json") },
        { QStringLiteral("version"), QStringLiteral("2.1.0") },
        { QStringLiteral("runs"), QJsonArray { sarifRun } },
    };
    return QJsonDocument(log).toJson(QJsonDocument::Indented);
}

QByteArray FindingsHtml(const RunFindings& run)
{
    const QString title = run.toolName + QStringLiteral(" findings");
    QString html
        = QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
                         "<meta name=\"viewport\" content=\"width=device-width\"/>\n<title>%1</title>\n"
                         "<style>%2</style>\n</head>\n<body>\n<h1>%1</h1>\n")
              .arg(escaped(title), QLatin1String(kPageStyle));
    html += QStringLiteral("<p class=\"run\">%1 %2 &#183; task %3 &#183; %4 to %5 &#183; %6 file(s), "
                           "%7 error(s), %8 warning(s)</p>\n")
                .arg(escaped(run.toolName), escaped(run.toolVersion),
                    escaped(run.taskCode.isEmpty() ? QStringLiteral("(none)") : run.taskCode),
                    escaped(localTime(run.startTime)), escaped(localTime(run.endTime)))
                .arg(run.files.size())
                .arg(run.errors())
                .arg(run.warnings());
    html += QStringLiteral("<h2>Files</h2>\n") + filesTable(run);
    html += QStringLiteral("<h2>Findings per routine</h2>\n<p class=\"legend\"><span class=\"swatch "
                           "error\"></span>errors<span class=\"swatch warning\"></span>warnings</p>\n")
        + routineChart(run);
    html += QStringLiteral("<h2>Findings per file</h2>\n");
    for (std::size_t i = 0; i < run.files.size(); ++i)
        html += fileSection(run.files[i], i + 1);
    html += QStringLiteral("<script>") + QLatin1String(kPageScript)
        + QStringLiteral("</script>\n</body>\n</html>\n");
    return html.toUtf8();
}

FindingOutputs::FindingOutputs(QString toolName, QString toolVersion, FindingOutputPaths paths)
    : paths_(std::move(paths))
{
    run_.toolName = std::move(toolName);
    run_.toolVersion = std::move(toolVersion);
}

void FindingOutputs::onRunStarted(const QString& taskCode, const QDateTime& startTime)
{
    run_.files.clear();
    run_.taskCode = ReportFormat::wellFormedText(taskCode);
    run_.startTime = startTime;
    run_.endTime = startTime;
    inFile_ = false;
    failures_.clear();
}

void FindingOutputs::onFileStarted(const QString& inputPath)
{
    run_.files.push_back({ ReportFormat::wellFormedText(inputPath), {}, 0, 0, {} });
    inFile_ = true;
}

// A finding between files belongs to the run as a whole: it is kept under an
// entry without a path rather than given to a file it was not found in.
FileFindings& FindingOutputs::current()
{
    if (!inFile_ && (run_.files.empty() || !run_.files.back().path.isEmpty()))
        run_.files.push_back({});
    return run_.files.back();
}

// The data as the reports show it (line breaks as "...", at most 250
// characters): a rule hands over the rest of the line, and a batch of long
// lines with many findings each must not be kept whole for every finding.
// Unlike the reports, which keep the text's own code units, these outputs
// are read by parsers that refuse half a character: the cut keeps pairs
// whole and a lone surrogate of the input or a table shows as U+FFFD.
void FindingOutputs::onFinding(const Finding& finding)
{
    FileFindings& file = current();
    file.findings.append(finding);
    Finding& kept = file.findings.last();
    kept.data = ReportFormat::wellFormedText(ReportFormat::preparedDataWholeCharacters(finding.data));
    kept.message = ReportFormat::wellFormedText(finding.message);
    kept.routine = ReportFormat::wellFormedText(finding.routine);
    ++(finding.kind == FindingKind::Error ? file.errors : file.warnings);
}

void FindingOutputs::onFileFailed(const QStringList& reasons)
{
    current().failures += reasons;
}

void FindingOutputs::onFileEnded()
{
    inFile_ = false;
}

void FindingOutputs::removeFiles(const QString& keep) const
{
    for (const QString& path : { paths_.json, paths_.sarif, paths_.html }) {
        if (!path.isEmpty() && (keep.isEmpty() || !IsSameFile(path, keep)))
            QFile::remove(path);
    }
}

void FindingOutputs::onRunEnded(const QDateTime& endTime, bool completed)
{
    run_.endTime = endTime;
    inFile_ = false;
    const std::pair<const QString*, QByteArray (*)(const RunFindings&)> outputs[] = {
        { &paths_.json, FindingsJson },
        { &paths_.sarif, FindingsSarif },
        { &paths_.html, FindingsHtml },
    };
    for (const auto& [path, render] : outputs) {
        if (path->isEmpty())
            continue;
        // A run that failed has no account of its inputs to give; an output
        // of an earlier run left in place would pass for this one's.
        if (!completed)
            QFile::remove(*path);
        else
            writeOutput(*path, render(run_), failures_);
    }
}
