#include "rules/ElementContents.h"

#include "core/ToolkitState.h"
#include "core/ValidationContext.h"

std::optional<ContentRange> CurrentElementContent(
    const QString& document, ToolkitState& toolkit, const ValidationContext& context)
{
    const qsizetype tagStart = context.filePosition - 1;
    // A tag without a name ("<;x>") has no end tag to look for.
    if (context.tagName.isEmpty() || context.tagName.contains(u' ') || tagStart < 0
        || tagStart + context.tagText.size() > document.size()
        || QStringView(document).sliced(tagStart).left(context.tagText.size()) != context.tagText)
        return std::nullopt;
    const ElementIndex* index = toolkit.indexFor(document);
    if (!index)
        return std::nullopt;
    const std::optional<QStringView> content
        = index->elementContent(tagStart, context.tagText.size(), context.tagName);
    if (!content)
        return std::nullopt;
    const qsizetype start = content->data() - document.constData();
    return ContentRange { start, start + content->size() };
}
