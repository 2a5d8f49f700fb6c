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

namespace {

// A tag the file opened and has not closed yet, kept as places in the text:
// most are closed again within their line, so the full record of one is
// made only when the file ends with it still open.
struct OwnOpenTag {
    QString name;
    qsizetype tagStart = 0;
    qsizetype tagLength = 0;
    qsizetype lineFrom = 0; // the tag's line, without its CR LF
    qsizetype lineEnd = 0;
    std::int32_t position = 0; // one-based in the line
    std::int32_t lineNumber = 0;
    // The innermost tag the file had open when this one was read, as a place
    // in the text; -1 when there was none of the file's own.
    qsizetype enclosingStart = -1;
    qsizetype enclosingLength = 0;
    qsizetype carriedAfter = -1; // see OpenTagEffect::Opened::enclosingCarriedAfter
};

// The record the driver makes of the tag, as validation would have left it
// in its open-tag list.
ValidationContext contextOf(const QString& text, const OwnOpenTag& open)
{
    ValidationContext context;
    context.tagName = open.name;
    context.tagType = TagKind::Start;
    context.tagText = text.mid(open.tagStart, open.tagLength);
    if (open.enclosingStart >= 0)
        context.enclosingTag = text.mid(open.enclosingStart, open.enclosingLength);
    context.lineText = text.mid(open.lineFrom, open.lineEnd - open.lineFrom);
    context.linePosition = open.position;
    context.filePosition = open.position + static_cast<std::int32_t>(open.lineFrom);
    context.lineNumber = open.lineNumber;
    return context;
}

} // namespace

OpenTagEffect OpenTagEffectOfText(const QString& text)
{
    OpenTagEffect effect;
    if (text.isEmpty())
        return effect;
    // The file's own open tags, kept apart from the ones it starts with: they
    // are the innermost, so an end tag closes one of them whenever it can.
    // The same walk as the driver's (WalkLineTagMatches, FollowOpenTags), over
    // views of the text: no line, tag or record is copied for the many tags
    // that open and close again.
    std::vector<OwnOpenTag> own;
    QHash<QString, int> ownNames;
    ToolkitState scratch;
    TagScanner xml(scratch);
    std::int32_t lineNumber = 0;
    // The lines as the driver splits them: at every CR LF, the last one
    // running to the end of the text.
    for (qsizetype from = 0; from <= text.size();) {
        qsizetype end = lineEndFrom(text, from);
        if (end < 0)
            end = text.size();
        const QStringView line = QStringView(text).sliced(from, end - from);
        ++lineNumber;
        WalkLineTagMatches(xml, line, [&](const TagMatch& tag) {
            const TagKind kind = xml.GetTagType(tag.text);
            if (kind == TagKind::Start) {
                OwnOpenTag opened;
                opened.name = xml.GetTagName(tag.text);
                opened.tagStart = from + tag.start;
                opened.tagLength = tag.text.size();
                opened.lineFrom = from;
                opened.lineEnd = end;
                opened.position = static_cast<std::int32_t>(tag.start + 1);
                opened.lineNumber = lineNumber;
                if (own.empty()) {
                    opened.carriedAfter = effect.closesCarried.size();
                } else {
                    opened.enclosingStart = own.back().tagStart;
                    opened.enclosingLength = own.back().tagLength;
                }
                ++ownNames[opened.name];
                own.push_back(std::move(opened));
                return;
            }
            if (kind != TagKind::End)
                return;
            const QString name = xml.GetTagName(tag.text);
            const auto count = ownNames.find(name);
            if (count == ownNames.end()) {
                effect.closesCarried.append(name);
                return;
            }
            for (auto open = own.rbegin(); open != own.rend(); ++open) {
                if (open->name == name) {
                    own.erase(std::next(open).base());
                    break;
                }
            }
            if (--*count == 0)
                ownNames.erase(count);
        });
        // The quoted-markup note is the driver's business, not the pass's.
        scratch.clearQuotedMarkupNote();
        from = end + 2;
    }
    effect.leftOpen.reserve(own.size());
    for (const OwnOpenTag& open : own)
        effect.leftOpen.push_back({ contextOf(text, open), open.carriedAfter });
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
    ToolkitState toolkit;
    OpenTagNames names;
    CountOpenTagNames(openTags, names, toolkit);
    ApplyOpenTagEffect(openTags, names, toolkit, effect);
}

void ApplyOpenTagEffect(QList<ValidationContext>& openTags, OpenTagNames& names, ToolkitState& toolkit,
    const OpenTagEffect& effect)
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
        FollowOpenTags(openTags, names, closing, toolkit.nameId(name));
        innermostAfter.push_back(InnermostOpenTag(openTags));
    }
    for (const OpenTagEffect::Opened& opened : effect.leftOpen) {
        openTags.append(opened.context);
        names.opened(toolkit.nameId(opened.context.tagName));
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
