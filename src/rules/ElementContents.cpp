#include "rules/ElementContents.h"

#include "core/RunState.h"
#include "text/ElementIndex.h"

namespace {

struct ElementContentsCache : RuleFileCache {
    explicit ElementContentsCache(QStringView text)
        : index(text)
    {
    }
    ElementIndex index;
};

const ElementIndex& indexOf(RunState& state)
{
    auto& slot = state.ruleCaches.elementContents;
    if (!slot)
        slot = std::make_unique<ElementContentsCache>(state.wholeText);
    return static_cast<const ElementContentsCache&>(*slot).index;
}

} // namespace

std::optional<ContentRange> CurrentElementContent(RunState& state, const ValidationContext& context)
{
    const qsizetype tagStart = context.filePosition - 1;
    // A tag without a name ("<;x>") has no end tag to look for.
    if (context.tagName.isEmpty() || tagStart < 0
        || tagStart + context.tagText.size() > state.wholeText.size()
        || QStringView(state.wholeText).sliced(tagStart).left(context.tagText.size()) != context.tagText)
        return std::nullopt;
    const std::optional<QStringView> content
        = indexOf(state).elementContent(tagStart, context.tagText.size(), context.tagName);
    if (!content)
        return std::nullopt;
    const qsizetype start = content->data() - state.wholeText.constData();
    return ContentRange { start, start + content->size() };
}
