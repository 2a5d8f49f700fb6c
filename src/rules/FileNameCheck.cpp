#include "rules/FileNameCheck.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "engine/RegExp.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"
#include "rules/PatternLint.h"

#include <new>

namespace {

constexpr int kFileNameColumns = 3;

// Whole-name patterns: a pattern that matched a piece of the name would let
// any name through that holds a good one.
QString anchored(const QString& pattern)
{
    return QStringLiteral("^(?:") + pattern + QStringLiteral(")$");
}

bool ignoresCase(const FileNameRow& row)
{
    return row.caseCode.compare(u"I", Qt::CaseInsensitive) == 0;
}

QString baseNameOf(const QString& fileName)
{
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot > 0 ? fileName.left(dot) : fileName;
}

void reportAll(const RuleContext& context, const std::vector<Finding>& findings)
{
    for (const Finding& finding : findings) {
        const Severity severity = finding.kind == FindingKind::Error ? Severity::Error : Severity::Warning;
        context.findings.report(severity, finding.line, finding.message, finding.data, finding.column);
    }
}

} // namespace

bool LoadFileNameTable(const ConfigurationLoading& loading, TableSet& set)
{
    const QString& path = set.file(SupportFile::FilenameCheck);
    QStringList lines;
    if (!TableReading::ReadLines(loading, path, lines))
        return false;
    auto table = std::make_shared<FileNameTable>();
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (lines[i].trimmed().isEmpty())
            continue;
        const QStringList fields = TableReading::SplitRow(lines[i]);
        if (fields.size() != kFileNameColumns) {
            TableReading::Lint(
                loading, path, i, TableReading::WrongFieldCount(fields.size(), kFileNameColumns));
            continue;
        }
        const FileNameRow row { fields[0], fields[1], fields[2] };
        if (row.caseCode.compare(u"C", Qt::CaseInsensitive) != 0 && !ignoresCase(row))
            TableReading::Lint(
                loading, path, i, QStringLiteral("case code \"%1\" is none of C, I").arg(row.caseCode));
        // As written: the anchoring around it would only confuse the reason given.
        LintPattern(loading, path, i, row.pattern, ignoresCase(row));
        table->rows.append(row);
    }
    set.table(SupportFile::FilenameCheck) = std::move(table);
    return true;
}

FileNameCharacters::FileNameCharacters(const QStringList& pieces)
{
    for (const QString& raw : pieces) {
        const QString piece = TableReading::Unescape(raw);
        if (piece.size() == 1) {
            ranges_.emplace_back(piece[0].unicode(), piece[0].unicode());
        } else if (piece.size() == 3 && piece[1] == u'-' && piece[0] <= piece[2]) {
            ranges_.emplace_back(piece[0].unicode(), piece[2].unicode());
        } else if (!piece.isEmpty()) {
            oddPieces_.append(raw);
            for (const QChar c : piece)
                ranges_.emplace_back(c.unicode(), c.unicode());
        }
    }
}

bool FileNameCharacters::contains(QChar c) const
{
    return std::any_of(ranges_.begin(), ranges_.end(),
        [&](const auto& range) { return c.unicode() >= range.first && c.unicode() <= range.second; });
}

std::vector<Finding> CheckFileNameCharacters(
    const QString& fileName, const FileNameCharacters& valid, const FileNameCharacters& invalid)
{
    std::vector<Finding> findings;
    QString told;
    for (qsizetype i = 0; i < fileName.size(); ++i) {
        const QChar c = fileName[i];
        if (told.contains(c))
            continue;
        QString message;
        if (invalid.contains(c))
            message = QStringLiteral("File name holds the invalid character \"%1\"").arg(c);
        else if (!valid.isEmpty() && !valid.contains(c))
            message = QStringLiteral("File name character \"%1\" is not a valid one").arg(c);
        if (message.isEmpty())
            continue;
        told += c;
        findings.push_back(
            { FindingKind::Error, 0, static_cast<std::int32_t>(i + 1), message, fileName, {} });
    }
    return findings;
}

std::vector<Finding> CheckFileNamePatterns(const QString& fileName, const QList<FileNameRow>& rows)
{
    if (rows.isEmpty())
        return {};
    const QString baseName = baseNameOf(fileName);
    QStringList tried;
    for (const FileNameRow& row : rows) {
        if (RegExp(anchored(row.pattern), false, ignoresCase(row)).test(baseName))
            return {};
        tried.append(row.description.isEmpty() ? row.pattern : row.description);
    }
    return { { FindingKind::Error, 0, 1, QStringLiteral("File name matches no file-name pattern"),
        fileName + QStringLiteral(" -- tried: ") + tried.join(QStringLiteral("; ")), {} } };
}

QStringList FileNameSetupProblems(const TableSet& active)
{
    QStringList problems;
    if (active.CheckFilename != Switch::On)
        return problems;
    const std::pair<const char*, const QStringList*> lists[]
        = { { "VALIDFILENAMECHAR", &active.ValidFilenameChars },
              { "INVALIDFILENAMECHARS", &active.InvalidFilenameChars } };
    for (const auto& [key, pieces] : lists) {
        for (const QString& piece : FileNameCharacters(*pieces).oddPieces())
            problems.append(
                QStringLiteral("%1 piece \"%2\" is neither one character nor a range such as a-z: "
                               "it stands for each of its characters")
                    .arg(QLatin1String(key), piece));
    }
    return problems;
}

void CheckFileName(RuleContext& context)
{
    const TableSet& active = context.settings;
    const QString fileName = InputFileNameOf(context.inputPath);
    std::vector<Finding> findings = CheckFileNameCharacters(fileName,
        FileNameCharacters(active.ValidFilenameChars), FileNameCharacters(active.InvalidFilenameChars));
    try {
        if (const auto* table = active.loaded<FileNameTable>(SupportFile::FilenameCheck)) {
            for (Finding& finding : CheckFileNamePatterns(fileName, table->rows))
                findings.push_back(std::move(finding));
        }
    } catch (const RunAborted&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& failure) {
        // The character findings stand; the failing pattern leaves the file not checked.
        reportAll(context, findings);
        context.findings.checkEnded(failure);
        return;
    }
    reportAll(context, findings);
}
