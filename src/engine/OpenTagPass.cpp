#include "engine/OpenTagPass.h"

#include "core/OperatorInterface.h"
#include "core/ToolkitState.h"
#include "engine/TagWalk.h"
#include "text/InputLoading.h"

#include <QHash>
#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>

namespace {

// Where the first CR LF at or after `from` starts, -1 when there is none.
// Found by its LF: searching a long text for one character is several times
// faster than searching it for two, and the pass reads every line end of
// every file of a batch before validation can start.
qsizetype lineEndFrom(const QString& text, qsizetype from)
{
    for (qsizetype lf = text.indexOf(u'\n', from + 1); lf >= 0; lf = text.indexOf(u'\n', lf + 1)) {
        if (text[lf - 1] == u'\r')
            return lf - 1;
    }
    return -1;
}

} // namespace

OpenTagEffect OpenTagEffectOfText(const QString& text)
{
    OpenTagEffect effect;
    if (text.isEmpty())
        return effect;
    // The file's own open tags, kept apart from the ones it starts with: they
    // are the innermost, so an end tag closes one of them whenever it can.
    QList<ValidationContext> own;
    QHash<QString, int> ownNames;
    QList<qsizetype> enclosingAfter; // beside each entry of `own`
    ToolkitState scratch;
    TagScanner xml(scratch);
    ValidationContext context;
    std::int32_t lineStart = 0;
    std::int32_t lineNumber = 0;
    // The lines as the driver splits them: at every CR LF, the last one
    // running to the end of the text.
    for (qsizetype from = 0; from <= text.size();) {
        qsizetype end = lineEndFrom(text, from);
        if (end < 0)
            end = text.size();
        const QString line = text.mid(from, end - from);
        ++lineNumber;
        WalkLineTags(xml, line, [&](QString&& tag, std::int32_t position) {
            const qsizetype carriedIsInnermost = own.isEmpty() ? effect.closesCarried.size() : -1;
            FillTagContext(
                context, xml, std::move(tag), line, position, lineStart, lineNumber, InnermostOpenTag(own));
            const qsizetype closed = FollowOpenTags(own, ownNames, context);
            if (context.tagType == TagKind::Start)
                enclosingAfter.append(carriedIsInnermost);
            else if (closed >= 0)
                enclosingAfter.removeAt(closed);
            else if (context.tagType == TagKind::End)
                effect.closesCarried.append(context.tagName);
        });
        // The quoted-markup note is the driver's business, not the pass's.
        scratch.clearQuotedMarkupNote();
        lineStart += static_cast<std::int32_t>(line.size()) + 2;
        from = end + 2;
    }
    effect.leftOpen.reserve(static_cast<std::size_t>(own.size()));
    for (qsizetype i = 0; i < own.size(); ++i)
        effect.leftOpen.push_back({ own[i], enclosingAfter[i] });
    return effect;
}

OpenTagEffect OpenTagEffectOfFile(const QString& path, bool utf8Input)
{
    // Nobody hears the pass: what loading a file has to say, its validation says.
    SilentOperator silent;
    try {
        return OpenTagEffectOfText(LoadInputText(silent, path, utf8Input));
    } catch (const std::exception&) {
        return {};
    }
}

void ApplyOpenTagEffect(QList<ValidationContext>& openTags, const OpenTagEffect& effect)
{
    QHash<QString, int> names;
    for (const ValidationContext& open : std::as_const(openTags))
        ++names[open.tagName];
    ApplyOpenTagEffect(openTags, names, effect);
}

void ApplyOpenTagEffect(
    QList<ValidationContext>& openTags, QHash<QString, int>& names, const OpenTagEffect& effect)
{
    // The enclosing tag of a tag the file read while only carried tags were
    // open is the innermost of them at that moment.
    std::vector<QString> innermostAfter;
    innermostAfter.reserve(static_cast<std::size_t>(effect.closesCarried.size()) + 1);
    innermostAfter.push_back(InnermostOpenTag(openTags));
    ValidationContext closing;
    closing.tagType = TagKind::End;
    for (const QString& name : effect.closesCarried) {
        closing.tagName = name;
        FollowOpenTags(openTags, names, closing);
        innermostAfter.push_back(InnermostOpenTag(openTags));
    }
    for (const OpenTagEffect::Opened& opened : effect.leftOpen) {
        openTags.append(opened.context);
        ++names[opened.context.tagName];
        if (opened.enclosingCarriedAfter >= 0)
            openTags.last().enclosingTag
                = innermostAfter[static_cast<std::size_t>(opened.enclosingCarriedAfter)];
    }
}

std::vector<OpenTagEffect> OpenTagEffectsOfFiles(const QStringList& paths, bool utf8Input, int jobs)
{
    std::vector<OpenTagEffect> effects(static_cast<std::size_t>(paths.size()));
    std::atomic<qsizetype> next = 0;
    auto passOver = [&] {
        for (qsizetype i = next++; i < paths.size(); i = next++)
            effects[static_cast<std::size_t>(i)] = OpenTagEffectOfFile(paths[i], utf8Input);
    };
    std::vector<std::thread> helpers;
    const qsizetype helping = std::min<qsizetype>(jobs, paths.size()) - 1;
    for (qsizetype i = 0; i < helping; ++i)
        helpers.emplace_back(passOver);
    passOver();
    for (std::thread& helper : helpers)
        helper.join();
    return effects;
}

QList<ValidationContext> OpenTagsAfterFiles(
    const QStringList& paths, bool utf8Input, QList<ValidationContext> start, int jobs)
{
    for (const OpenTagEffect& effect : OpenTagEffectsOfFiles(paths, utf8Input, jobs))
        ApplyOpenTagEffect(start, effect);
    return start;
}
