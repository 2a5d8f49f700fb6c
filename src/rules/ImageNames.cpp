#include "rules/ImageNames.h"

#include "core/Paths.h"
#include "engine/RuleContext.h"
#include "rules/ImageChecks.h"

namespace {

bool endsName(QChar c)
{
    return c == u' ' || c == u'>' || c == u'/' || c == u'\t' || c == u'\r' || c == u'\n';
}

// "N/A", as every table writes a parameter it does not use, or nothing.
bool noParameter(QStringView parameter)
{
    return parameter.isEmpty() || parameter.compare(u"N/A", Qt::CaseInsensitive) == 0;
}

// The image names of the current tag; none when the image validation table
// does not list its element, so that a routine declared on an enclosing
// element checks only the image tags inside it.
QStringList currentTagImages(const RuleContext& context, const ImageValidationTable*& table)
{
    table = context.settings.loaded<ImageValidationTable>(SupportFile::ImageValidationTbl);
    const ValidationContext& tag = context.tag;
    if (!table || (tag.tagType != TagKind::Start && tag.tagType != TagKind::Empty))
        return {};
    return ImagesOfTag(tag.tagText, tag.tagName, *table).names;
}

void errorAtTag(const RuleContext& context, const QString& message)
{
    context.reportAtTag(Severity::Error, message);
}

QString articleIdentifier(const RuleContext& context)
{
    if (noParameter(context.parameter)) {
        const QString name = InputFileNameOf(context.inputPath);
        const qsizetype dot = name.lastIndexOf(u'.');
        return dot < 0 ? name : name.left(dot);
    }
    const QString element = context.parameter.toString();
    QHash<QString, QString>& known = context.ownState<ImageFileState>().articleIds;
    const auto found = known.constFind(element);
    if (found != known.constEnd())
        return found.value();
    const QString id = FirstElementText(context.document, element).value_or(QString());
    known.insert(element, id);
    return id;
}

} // namespace

QString ImageBaseName(QStringView value)
{
    const QString name = ImageFileNameOf(value);
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.left(dot) : name;
}

std::optional<QString> FirstElementText(QStringView text, const QString& elementName)
{
    if (elementName.isEmpty())
        return std::nullopt;
    const QString opener = u'<' + elementName;
    for (qsizetype at = text.indexOf(opener, 0, Qt::CaseInsensitive); at >= 0;
         at = text.indexOf(opener, at + 1, Qt::CaseInsensitive)) {
        const qsizetype after = at + opener.size();
        if (after >= text.size() || !endsName(text[after]))
            continue; // a longer name that begins the same way
        const qsizetype startEnd = text.indexOf(u'>', after);
        if (startEnd < 0)
            return std::nullopt;
        if (text[startEnd - 1] == u'/')
            return QString(); // an empty element holds no identifier
        const qsizetype close
            = text.indexOf(QStringLiteral("</") + elementName, startEnd, Qt::CaseInsensitive);
        if (close < 0)
            return std::nullopt;
        QString content;
        bool inTag = false;
        for (const QChar c : text.sliced(startEnd + 1, close - startEnd - 1)) {
            if (c == u'<')
                inTag = true;
            else if (c == u'>')
                inTag = false;
            else if (!inTag)
                content += c;
        }
        return content.trimmed();
    }
    return std::nullopt;
}

std::optional<int> ExpectedImageNameLength(QStringView parameter)
{
    bool numeric = false;
    const int length = parameter.trimmed().toInt(&numeric);
    return numeric && length > 0 ? std::optional<int>(length) : std::nullopt;
}

void IMGNAMEARTIDEQUALITY(RuleContext& context)
{
    const ImageValidationTable* table = nullptr;
    const QStringList images = currentTagImages(context, table);
    if (images.isEmpty())
        return;
    const QString id = articleIdentifier(context);
    if (id.isEmpty()) {
        // Told once per file and element: every image tag would say the same.
        const QString element = context.parameter.toString();
        QSet<QString>& told = context.ownState<ImageFileState>().toldNoArticleId;
        if (!told.contains(element)) {
            told.insert(element);
            errorAtTag(context, QStringLiteral("No article ID found in an element ") + element);
        }
        return;
    }
    for (const QString& image : images) {
        if (!ImageFileNameOf(image).startsWith(id, Qt::CaseInsensitive))
            errorAtTag(context, QStringLiteral("Image name not prefixed by article ID ") + id);
    }
}

void IMGNAMELENGTHEQUALITY(RuleContext& context)
{
    const ImageValidationTable* table = nullptr;
    const QStringList images = currentTagImages(context, table);
    if (images.isEmpty())
        return;
    std::optional<int> expected = ExpectedImageNameLength(context.parameter);
    if (!expected) {
        const auto& callouts = FileImageCallouts(
            context.ownState<ImageFileState>(), context.document, context.lineStarts, *table);
        for (const ImageCallout& callout : callouts) {
            if (!callout.name.isEmpty()) {
                expected = static_cast<int>(ImageBaseName(callout.name).size());
                break;
            }
        }
    }
    if (!expected)
        return;
    for (const QString& image : images) {
        const QString name = ImageBaseName(image);
        if (name.size() != *expected)
            errorAtTag(context,
                QStringLiteral("Image name length %1 instead of %2: %3")
                    .arg(name.size())
                    .arg(*expected)
                    .arg(name));
    }
}
