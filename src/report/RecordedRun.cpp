#include "report/RecordedRun.h"

#include "report/FindingOutputs.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQueue>
#include <algorithm>
#include <map>

namespace {

// Report lines end with CR LF; a lone LF inside the data belongs to the entry.
const QString kLineEnd = QStringLiteral("\r\n");
// Between the kind mark and the data: the message and the blanks that pad it,
// 86 characters without the column, 55 with it (where " - " then follows).
constexpr qsizetype kPlainMessageWidth = 86;
constexpr qsizetype kColumnMessageWidth = 55;
const QString kColumnSeparator = QStringLiteral(" - ");
// What the program logs write in front of an input's path.
const QString kLoggedInputMarks[] = { QStringLiteral("FilePath    : "), QStringLiteral("Input File: ") };
// How far below the input folder an input that no log names is looked for.
constexpr int kSearchedFolderLimit = 200;

qsizetype digitsAt(QStringView text, qsizetype from)
{
    qsizetype end = from;
    while (end < text.size() && text[end] >= u'0' && text[end] <= u'9')
        ++end;
    return end - from;
}

QString trimmedRight(QStringView text)
{
    qsizetype end = text.size();
    while (end > 0 && text[end - 1] == u' ')
        --end;
    return text.first(end).toString();
}

// The input file name without its last extension, as the reports are named.
QString baseNameOf(const QString& fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? fileName : fileName.left(dot);
}

bool passesMask(const QString& fileMask, const QString& fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (fileMask.isEmpty() || fileMask == u"||" || dot < 0)
        return true;
    return fileMask.contains(
        QLatin1Char('|') + fileName.mid(dot + 1) + QLatin1Char('|'), Qt::CaseInsensitive);
}

QString readUtf8(const QString& path, QString* error = nullptr)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return {};
    }
    return QString::fromUtf8(file.readAll());
}

QList<Finding> readReport(const QString& path)
{
    QList<Finding> findings;
    const QString text = readUtf8(path);
    for (const auto line : QStringTokenizer(text, kLineEnd)) {
        if (std::optional<Finding> finding = ParseReportEntry(line))
            findings.append(std::move(*finding));
    }
    return findings;
}

// The inputs that the program logs at the top of the folder name, in the
// order they were validated.
QStringList loggedInputs(const QString& folder)
{
    QStringList inputs;
    for (const QFileInfo& log :
        QDir(folder).entryInfoList({ QStringLiteral("*.LOG") }, QDir::Files, QDir::Name)) {
        const QString text = readUtf8(log.filePath());
        for (const auto line : QStringTokenizer(text, kLineEnd)) {
            for (const QString& mark : kLoggedInputMarks) {
                if (!line.startsWith(mark))
                    continue;
                const QString path = line.sliced(mark.size()).trimmed().toString();
                if (!path.isEmpty() && !inputs.contains(path))
                    inputs.append(path);
            }
        }
    }
    return inputs;
}

// Finds the input of each report: among the inputs the logs name, else on
// disk below the input folder. Logs are indexed by base name and folders
// listed once each, so a working folder of ten thousand reports costs no
// more per report than one of ten.
class InputFinder {
public:
    InputFinder(QStringList logged, InputSearch search)
        : logged_(std::move(logged))
        , search_(std::move(search))
    {
        for (qsizetype i = 0; i < logged_.size(); ++i)
            byBase_[baseNameOf(QFileInfo(logged_[i]).fileName())].append(i);
    }

    // The input and its place in the logs (the size of the logs when searched
    // for on disk); an empty path when nothing was found.
    std::pair<QString, qsizetype> find(const QString& base, const QString& relativeFolder)
    {
        if (const qsizetype match = matchLogged(base, relativeFolder); match >= 0)
            return { logged_[match], match };
        return { searched(base, relativeFolder), logged_.size() };
    }

private:
    // Prefers an input in a folder of the report's relative folder name (the
    // mirrored trees).
    qsizetype matchLogged(const QString& base, const QString& relativeFolder) const
    {
        const QList<qsizetype> candidates = byBase_.value(base);
        for (const qsizetype i : candidates) {
            const QString folder = QLatin1Char('/') + QFileInfo(logged_[i]).path() + QLatin1Char('/');
            if (relativeFolder.isEmpty() || folder.endsWith(QLatin1Char('/') + relativeFolder))
                return i;
        }
        return candidates.isEmpty() ? -1 : candidates.first();
    }

    const QStringList& filesIn(const QString& folder)
    {
        auto found = listings_.find(folder);
        if (found == listings_.end())
            found = listings_.insert(folder, QDir(folder).entryList(QDir::Files, QDir::Name));
        return *found;
    }

    QString inputIn(const QString& folder, const QString& base)
    {
        for (const QString& name : filesIn(folder)) {
            if (baseNameOf(name) == base && passesMask(search_.fileMask, name))
                return folder + name;
        }
        return {};
    }

    // A single-file run logs no input paths: look in the folder that mirrors
    // the report's, then breadth first below the input folder, within a
    // bound so that a huge tree costs no more than a moment.
    QString searched(const QString& base, const QString& relativeFolder)
    {
        if (search_.inputFolder.isEmpty())
            return {};
        const QString root = QDir(search_.inputFolder).absolutePath() + QLatin1Char('/');
        if (!relativeFolder.isEmpty()) {
            if (QString found = inputIn(root + relativeFolder, base); !found.isEmpty())
                return found;
        }
        if (tree_.isEmpty())
            tree_ = foldersBelow(root);
        for (const QString& folder : std::as_const(tree_)) {
            if (QString found = inputIn(folder, base); !found.isEmpty())
                return found;
        }
        return {};
    }

    static QStringList foldersBelow(const QString& root)
    {
        QStringList folders;
        QQueue<QString> waiting { { root } };
        while (!waiting.isEmpty() && folders.size() < kSearchedFolderLimit) {
            const QString folder = waiting.dequeue();
            folders.append(folder);
            for (const QString& name : QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
                waiting.enqueue(folder + name + QLatin1Char('/'));
        }
        return folders;
    }

    QStringList logged_;
    InputSearch search_;
    QHash<QString, QList<qsizetype>> byBase_;
    QHash<QString, QStringList> listings_;
    QStringList tree_;
};

struct ReportPair {
    QString errorReport;
    QString warningReport;
};

} // namespace

int RecordedRun::findingCount() const
{
    int count = 0;
    for (const RecordedFile& file : files)
        count += int(file.findings.size());
    return count;
}

std::optional<Finding> ParseReportEntry(QStringView line)
{
    const qsizetype lineDigits = digitsAt(line, 0);
    if (lineDigits == 0)
        return std::nullopt;
    Finding finding;
    finding.line = line.first(lineDigits).toLongLong();
    QStringView rest = line.sliced(lineDigits);
    qsizetype messageWidth = kPlainMessageWidth;
    if (rest.startsWith(kColumnSeparator)) {
        const qsizetype columnDigits = digitsAt(rest, 3);
        if (columnDigits == 0 || !rest.sliced(3 + columnDigits).startsWith(kColumnSeparator))
            return std::nullopt;
        finding.column = rest.sliced(3, columnDigits).toInt();
        rest = rest.sliced(6 + columnDigits);
        messageWidth = kColumnMessageWidth;
    } else if (rest.startsWith(u"   ")) {
        rest = rest.sliced(3);
    } else {
        return std::nullopt;
    }
    if (rest.size() < 4 || (rest[0] != u'E' && rest[0] != u'W') || rest.sliced(1, 3) != u" / ")
        return std::nullopt;
    finding.kind = rest[0] == u'E' ? FindingKind::Error : FindingKind::Warning;
    rest = rest.sliced(4);
    if (messageWidth == kPlainMessageWidth) {
        finding.message = trimmedRight(rest.first(std::min(rest.size(), messageWidth)));
        finding.data = rest.size() > messageWidth ? rest.sliced(messageWidth).toString() : QString();
        return finding;
    }
    // A line whose padding was changed (an editor trimming blanks) still
    // splits at the first separator after the message.
    const bool padded
        = rest.size() >= messageWidth + 3 && rest.sliced(messageWidth).startsWith(kColumnSeparator);
    const qsizetype separator = padded ? messageWidth : rest.indexOf(kColumnSeparator);
    if (separator < 0) {
        finding.message = trimmedRight(rest);
        return finding;
    }
    finding.message = trimmedRight(rest.first(separator));
    finding.data = rest.sliced(separator + 3).toString();
    return finding;
}

RecordedRun ReadWorkingFolder(const QString& folder, const InputSearch& search)
{
    RecordedRun run;
    run.routinesKnown = false;
    if (!QFileInfo(folder).isDir()) {
        run.error = QStringLiteral("%1 is not a folder").arg(folder);
        return run;
    }
    const QDir root(folder);
    std::map<QString, ReportPair> reports; // by relative path without the extension
    QDirIterator entries(folder, QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const QString relative = root.relativeFilePath(path);
        if (relative.endsWith(u".ERR"))
            reports[relative.chopped(4)].errorReport = path;
        else if (relative.endsWith(u".WRN"))
            reports[relative.chopped(4)].warningReport = path;
    }
    if (reports.empty()) {
        run.error = QStringLiteral("%1 holds no .ERR or .WRN reports").arg(folder);
        return run;
    }

    InputFinder inputs(loggedInputs(folder), search);
    struct Ordered {
        qsizetype order;
        RecordedFile file;
    };
    std::vector<Ordered> files;
    for (const auto& [key, pair] : reports) {
        const qsizetype slash = key.lastIndexOf(QLatin1Char('/'));
        const auto [inputPath, order] = inputs.find(key.mid(slash + 1), key.left(slash + 1));
        Ordered entry { order, { inputPath, {}, {} } };
        if (inputPath.isEmpty())
            run.notes.append(QStringLiteral("no log names the input of %1").arg(key));
        entry.file.name = entry.file.inputPath.isEmpty() ? key : QFileInfo(entry.file.inputPath).fileName();
        if (!pair.errorReport.isEmpty())
            entry.file.findings = readReport(pair.errorReport);
        if (!pair.warningReport.isEmpty())
            entry.file.findings += readReport(pair.warningReport);
        files.push_back(std::move(entry));
    }
    // Files the logs name come in the order validated, the others after them
    // by report path.
    std::stable_sort(
        files.begin(), files.end(), [](const Ordered& a, const Ordered& b) { return a.order < b.order; });
    for (Ordered& entry : files)
        run.files.push_back(std::move(entry.file));
    return run;
}

RecordedRun ReadFindingsJson(const QString& path)
{
    RecordedRun run;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        run.error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return run;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    const QJsonValue files = document.object().value(u"files");
    if (parseError.error != QJsonParseError::NoError || !files.isArray()) {
        run.error = parseError.error != QJsonParseError::NoError
            ? QStringLiteral("%1: not JSON (%2 at byte %3)")
                  .arg(path, parseError.errorString())
                  .arg(parseError.offset)
            : QStringLiteral("%1: not a findings document (no \"files\" list)").arg(path);
        return run;
    }
    for (const QJsonValue fileValue : files.toArray()) {
        const QJsonObject object = fileValue.toObject();
        RecordedFile recorded;
        recorded.inputPath = object.value(u"path").toString();
        recorded.name = recorded.inputPath.isEmpty() ? QStringLiteral("(the run)")
                                                     : QFileInfo(recorded.inputPath).fileName();
        for (const QJsonValue findingValue : object.value(u"findings").toArray()) {
            const QJsonObject item = findingValue.toObject();
            Finding finding;
            finding.kind
                = item.value(u"severity").toString() == u"error" ? FindingKind::Error : FindingKind::Warning;
            finding.line = std::int64_t(item.value(u"line").toDouble());
            finding.column = item.value(u"column").toInt();
            finding.message = item.value(u"message").toString();
            finding.data = item.value(u"data").toString();
            finding.routine = item.value(u"routine").toString();
            recorded.findings.append(std::move(finding));
        }
        run.files.push_back(std::move(recorded));
    }
    return run;
}

RecordedRun ReadRecordedRun(const QString& path, const InputSearch& search)
{
    if (QFileInfo(path).isDir())
        return ReadWorkingFolder(path, search);
    if (!QFileInfo::exists(path)) {
        RecordedRun run;
        run.error = QStringLiteral("%1 not found").arg(path);
        return run;
    }
    return ReadFindingsJson(path);
}

RecordedRun RecordedRunOf(const RunFindings& run)
{
    RecordedRun recorded;
    for (const FileFindings& file : run.files) {
        recorded.files.push_back(
            { file.path, file.path.isEmpty() ? QStringLiteral("(the run)") : QFileInfo(file.path).fileName(),
                file.findings });
    }
    return recorded;
}
