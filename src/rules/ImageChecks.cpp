#include "rules/ImageChecks.h"

#include "config/ConfigurationLoading.h"
#include "config/TableReading.h"
#include "core/Paths.h"
#include "engine/Dispatch.h"
#include "engine/RuleContext.h"
#include "engine/RuleHelpers.h"
#include "text/TagSearch.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

namespace {

bool isNameStart(QChar c)
{
    return c.isLetter() || c == u'_' || c == u':';
}

bool isNameChar(QChar c)
{
    return isNameStart(c) || c.isDigit() || c == u'-' || c == u'.';
}

bool isBlank(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n';
}

// Start and empty tags carry attributes; the kinds are told apart as the
// toolkit tells them.
bool carriesAttributes(QStringView tag)
{
    return tag.contains(u"/>") || !tag.contains(u"</");
}

void lintRow(
    const ConfigurationLoading& loading, const QString& path, qsizetype index, const QString& message)
{
    TableReading::Lint(loading, path, index, QStringLiteral("row dropped: ") + message);
}

bool switchedOn(Switch value)
{
    return value == Switch::On;
}

// "f4.tif", or "f4 (.eps or .tif)" for a name completed with the extensions:
// the report shows 53 characters of a message.
QString lookedFor(const QString& value, const QStringList& candidates)
{
    const QString name = ImageFileNameOf(value);
    if (candidates.size() < 2)
        return candidates.value(0, name);
    QStringList extensions;
    for (const QString& candidate : candidates)
        extensions.append(candidate.mid(name.size()));
    return name + QStringLiteral(" (") + extensions.join(QStringLiteral(" or ")) + u')';
}

} // namespace

const QStringList* ImageValidationTable::attributesOf(QStringView tagName) const
{
    const auto found = attributesByUpperTag.constFind(tagName.toString().toUpper());
    return found == attributesByUpperTag.constEnd() ? nullptr : &found.value();
}

bool IsBareName(QStringView field)
{
    if (field.isEmpty() || !isNameStart(field.front()))
        return false;
    return std::all_of(field.begin(), field.end(), isNameChar);
}

bool LoadImageValidationTable(const ConfigurationLoading& loading, TableSet& set)
{
    const QString& path = set.file(SupportFile::ImageValidationTbl);
    QStringList lines;
    if (!TableReading::ReadLines(loading, path, lines))
        return false;
    auto table = std::make_shared<ImageValidationTable>();
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (lines[i].trimmed().isEmpty())
            continue;
        const QStringList fields = TableReading::SplitRow(lines[i]);
        if (fields.size() != 2) {
            TableReading::Lint(loading, path, i, TableReading::WrongFieldCount(fields.size(), 2));
            continue;
        }
        // The tag may be written as a tag, as in the routine declaration table.
        QString tag = fields[0];
        if (tag.startsWith(u'<'))
            tag = TagSearch::TagNameOf(tag);
        if (!IsBareName(tag)) {
            lintRow(loading, path, i, QStringLiteral("tag \"%1\" is no element name").arg(fields[0]));
            continue;
        }
        // "@href", "href=" or a quoted name would load and never match.
        if (!IsBareName(fields[1])) {
            lintRow(loading, path, i,
                QStringLiteral("attribute \"%1\" is not a bare attribute name such as href or xlink:href")
                    .arg(fields[1]));
            continue;
        }
        table->rows.append({ tag, fields[1] });
        // A row written twice must not report each of its images twice.
        QStringList& attributes = table->attributesByUpperTag[tag.toUpper()];
        if (!attributes.contains(fields[1], Qt::CaseInsensitive))
            attributes.append(fields[1]);
    }
    set.table(SupportFile::ImageValidationTbl) = std::move(table);
    return true;
}

QList<TagAttribute> TagAttributes(QStringView tag)
{
    QList<TagAttribute> attributes;
    qsizetype at = tag.startsWith(u'<') ? 1 : 0;
    const qsizetype end = tag.endsWith(u'>') ? tag.size() - 1 : tag.size();
    while (at < end && !isBlank(tag[at]) && tag[at] != u'/')
        ++at; // the element name
    while (at < end) {
        while (at < end && (isBlank(tag[at]) || tag[at] == u'/'))
            ++at;
        const qsizetype nameStart = at;
        while (at < end && !isBlank(tag[at]) && tag[at] != u'=' && tag[at] != u'/')
            ++at;
        if (at == nameStart) {
            ++at; // a stray "=": nothing names it
            continue;
        }
        const QStringView name = tag.sliced(nameStart, at - nameStart);
        qsizetype look = at;
        while (look < end && isBlank(tag[look]))
            ++look;
        if (look >= end || tag[look] != u'=') {
            attributes.append({ name, {} });
            continue;
        }
        at = look + 1;
        while (at < end && isBlank(tag[at]))
            ++at;
        qsizetype valueStart = at;
        qsizetype valueEnd = at;
        if (at < end && (tag[at] == u'"' || tag[at] == u'\'')) {
            const qsizetype close = tag.sliced(0, end).indexOf(tag[at], at + 1);
            valueStart = at + 1;
            valueEnd = close < 0 ? end : close;
            at = close < 0 ? end : close + 1;
        } else {
            while (at < end && !isBlank(tag[at]) && !(tag[at] == u'/' && at + 1 == end))
                ++at;
            valueEnd = at;
        }
        attributes.append({ name, tag.sliced(valueStart, valueEnd - valueStart) });
    }
    return attributes;
}

TagImages ImagesOfTag(QStringView tag, QStringView tagName, const ImageValidationTable& table)
{
    TagImages images;
    const QStringList* wanted = table.attributesOf(tagName);
    if (!wanted)
        return images;
    images.listed = true;
    const QList<TagAttribute> attributes = TagAttributes(tag);
    for (const QString& attribute : *wanted) {
        for (const TagAttribute& given : attributes) {
            if (given.name.compare(attribute, Qt::CaseInsensitive) == 0 && !given.value.trimmed().isEmpty())
                images.names.append(given.value.trimmed().toString());
        }
    }
    return images;
}

std::vector<ImageCallout> FindImageCallouts(
    QStringView text, const std::vector<std::int32_t>& lineStarts, const ImageValidationTable& table)
{
    std::vector<ImageCallout> callouts;
    QStringList openers; // "<graphic": a line without any holds no callout
    for (const ImageTagRow& row : table.rows)
        openers.append(u'<' + row.tag);
    for (std::size_t index = 0; index < lineStarts.size(); ++index) {
        const qsizetype start = lineStarts[index];
        const qsizetype stop = index + 1 < lineStarts.size() ? lineStarts[index + 1] - 2 : text.size();
        const QStringView line = text.sliced(start, stop - start);
        if (std::none_of(openers.cbegin(), openers.cend(),
                [&](const QString& opener) { return line.contains(opener, Qt::CaseInsensitive); }))
            continue;
        for (qsizetype from = 0;;) {
            const auto candidate = TagSearch::FindCandidate(line, from, [](qsizetype, qsizetype) {});
            if (!candidate)
                break;
            from = candidate->gt + 1;
            const QStringView tag = line.sliced(candidate->lt, candidate->gt - candidate->lt + 1);
            if (tag.contains(u"<!") || tag.contains(u"<?") || !carriesAttributes(tag))
                continue;
            const QString name = TagSearch::TagNameOf(tag);
            const TagImages images = ImagesOfTag(tag, name, table);
            if (!images.listed)
                continue;
            ImageCallout callout;
            callout.line = static_cast<std::int32_t>(index + 1);
            callout.column = static_cast<std::int32_t>(candidate->lt + 1);
            callout.data = line.sliced(candidate->lt);
            if (images.names.isEmpty()) {
                callout.attributes = table.attributesOf(name)->join(QStringLiteral(" or "));
                callouts.push_back(callout);
            }
            for (const QString& image : images.names) {
                callout.name = image;
                callouts.push_back(callout);
            }
        }
    }
    return callouts;
}

QString ImageFileNameOf(QStringView value)
{
    const qsizetype slash = std::max(value.lastIndexOf(u'/'), value.lastIndexOf(u'\\'));
    return value.sliced(slash + 1).toString();
}

QString ImageFolderFor(const QString& imagePath, const QString& imageFolder, const QString& inputPath)
{
    const QString parent = QFileInfo(inputPath).absoluteDir().dirName();
    QString folder = imagePath;
    if (!parent.isEmpty())
        folder += parent + u'/';
    if (!imageFolder.isEmpty())
        folder += imageFolder.endsWith(u'/') ? imageFolder : imageFolder + u'/';
    return folder;
}

QStringList ImageExtensions(const QString& setting)
{
    QStringList extensions;
    QString normalized = setting;
    normalized.replace(u'|', u',');
    for (QString piece : normalized.split(u',')) {
        piece = piece.trimmed();
        if (piece.startsWith(u'.'))
            piece.remove(0, 1);
        if (!piece.isEmpty() && !extensions.contains(piece))
            extensions.append(piece);
    }
    return extensions;
}

QStringList ImageFileCandidates(const QString& fileName, const QStringList& extensions)
{
    // A leading "." starts a hidden name, not an extension.
    if (fileName.lastIndexOf(u'.') > 0 || extensions.isEmpty())
        return { fileName };
    QStringList candidates;
    for (const QString& extension : extensions)
        candidates.append(fileName + u'.' + extension);
    return candidates;
}

std::vector<Finding> CheckImageCallouts(
    const std::vector<ImageCallout>& callouts, const ImageFolderSettings& settings, QSet<QString>& calledOut)
{
    std::vector<Finding> findings;
    auto error = [&](const ImageCallout& callout, const QString& message) {
        findings.push_back(
            { FindingKind::Error, callout.line, callout.column, message, callout.data.toString(), {} });
    };
    for (const ImageCallout& callout : callouts) {
        if (callout.name.isEmpty()) {
            error(callout, QStringLiteral("Image tag names no image in ") + callout.attributes);
            continue;
        }
        const QStringList candidates
            = ImageFileCandidates(ImageFileNameOf(callout.name), settings.extensions);
        const auto found = std::find_if(candidates.cbegin(), candidates.cend(),
            [&](const QString& name) { return QFileInfo(settings.folder + name).isFile(); });
        if (found == candidates.cend()) {
            error(callout, QStringLiteral("Image not found: ") + lookedFor(callout.name, candidates));
            continue;
        }
        calledOut.insert(*found);
        if (settings.zeroBytesAreErrors && QFileInfo(settings.folder + *found).size() == 0)
            error(callout, QStringLiteral("Image file is empty: ") + *found);
    }
    return findings;
}

QString NoCalloutMessage(const QString& imageName)
{
    return imageName
        + QStringLiteral(" image does not have a corresponding callout tags in the file/s selected.");
}

std::vector<Finding> ImagesWithoutCallout(const ImageRunState& run)
{
    std::vector<Finding> findings;
    for (auto folder = run.calledOut.cbegin(); folder != run.calledOut.cend(); ++folder) {
        const QStringList names = QDir(folder.key()).entryList(QDir::Files, QDir::Name);
        for (const QString& name : names) {
            if (!folder.value().contains(name))
                findings.push_back(
                    { FindingKind::Error, 0, 0, NoCalloutMessage(name), folder.key() + name, {} });
        }
    }
    return findings;
}

void ImageRunState::takeLater(const RuleRunState& later)
{
    const auto& share = static_cast<const ImageRunState&>(later);
    for (auto folder = share.calledOut.cbegin(); folder != share.calledOut.cend(); ++folder)
        calledOut[folder.key()].unite(folder.value());
    crossCheck = crossCheck || share.crossCheck;
}

QJsonValue ImageRunState::saved() const
{
    QJsonObject folders;
    for (auto folder = calledOut.cbegin(); folder != calledOut.cend(); ++folder) {
        QStringList names(folder.value().cbegin(), folder.value().cend());
        names.sort();
        folders.insert(folder.key(), QJsonArray::fromStringList(names));
    }
    return QJsonObject { { QStringLiteral("crossCheck"), crossCheck },
        { QStringLiteral("calledOut"), folders } };
}

bool ImageRunState::restore(const QJsonValue& saved)
{
    const QJsonObject record = saved.toObject();
    if (!record.value(QStringLiteral("crossCheck")).isBool()
        || !record.value(QStringLiteral("calledOut")).isObject())
        return false;
    crossCheck = record.value(QStringLiteral("crossCheck")).toBool();
    const QJsonObject folders = record.value(QStringLiteral("calledOut")).toObject();
    for (auto folder = folders.constBegin(); folder != folders.constEnd(); ++folder) {
        QSet<QString>& names = calledOut[folder.key()];
        for (const QJsonValue& name : folder.value().toArray())
            names.insert(name.toString());
    }
    return true;
}

std::unique_ptr<RuleRunState> MakeImageRunState()
{
    return MakeRunState<ImageRunState>();
}

std::unique_ptr<RuleFileState> MakeImageFileState()
{
    return MakeFileState<ImageFileState>();
}

const std::vector<ImageCallout>& FileImageCallouts(ImageFileState& file, const QString& document,
    const std::vector<std::int32_t>& lineStarts, const ImageValidationTable& table)
{
    if (!file.calloutsFound) {
        file.callouts = FindImageCallouts(document, lineStarts, table);
        file.calloutsFound = true;
    }
    return file.callouts;
}

QStringList ImageSetupProblems(const TableSet& active, const QSet<QString>& declaredRoutines)
{
    const auto* table = active.loaded<ImageValidationTable>(SupportFile::ImageValidationTbl);
    if (table && !table->rows.isEmpty())
        return {};
    const QString noTags = QStringLiteral("IMAGEVALIDATIONTBL lists no image tag");
    QStringList problems;
    if (switchedOn(active.CheckExcessImgFiles))
        problems.append(QStringLiteral("CHECKEXCESSIMGFILES is TRUE but ") + noTags
            + QStringLiteral(": every file in the image folders would be reported"));
    for (const char* routine : { "IMGNAMEARTIDEQUALITY", "IMGNAMELENGTHEQUALITY" }) {
        if (declaredRoutines.contains(QLatin1String(routine)))
            problems.append(QLatin1String(routine) + QStringLiteral(" is declared but ") + noTags
                + QStringLiteral(": it checks nothing"));
    }
    return problems;
}

void CheckImageValidation(RuleContext& context)
{
    const TableSet& active = context.settings;
    const QString folder = ImageFolderFor(context.imagePath, context.imageFolder, context.inputPath);
    // Every file's folder takes part in the run's cross-check, also a file
    // that calls nothing out: all its folder holds is then in excess.
    auto& run = context.ownRunState<ImageRunState>();
    run.crossCheck = switchedOn(active.CheckExcessImgFiles);
    QSet<QString>& calledOut = run.calledOut[folder];
    const auto* table = active.loaded<ImageValidationTable>(SupportFile::ImageValidationTbl);
    if (!table || table->rows.isEmpty())
        return;
    const ImageFolderSettings settings { folder, ImageExtensions(active.ImageExtension),
        switchedOn(active.CheckImageZeroBytes) };
    const auto& callouts
        = FileImageCallouts(context.ownState<ImageFileState>(), context.document, context.lineStarts, *table);
    for (const Finding& finding : CheckImageCallouts(callouts, settings, calledOut)) {
        const Severity severity = finding.kind == FindingKind::Error ? Severity::Error : Severity::Warning;
        context.findings.report(severity, finding.line, finding.message, finding.data, finding.column);
    }
}

void StartImageCrossCheck(RuleRunStates& carried)
{
    if (auto* run = static_cast<ImageRunState*>(carried.find(MakeImageRunState))) {
        run->calledOut.clear();
        run->crossCheck = false;
    }
}

std::vector<Finding> ExcessImageFindings(const RuleRunStates& carried)
{
    const auto* run = static_cast<const ImageRunState*>(carried.find(MakeImageRunState));
    if (!run || !run->crossCheck)
        return {};
    std::vector<Finding> findings = ImagesWithoutCallout(*run);
    for (Finding& finding : findings)
        finding.routine = QStringLiteral("CheckExcessImgFiles");
    return findings;
}
