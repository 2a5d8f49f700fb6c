#pragma once

#include "core/OpenTagNames.h"
#include "core/SharedText.h"
#include "core/ToolkitState.h"
#include "core/ValidationContext.h"
#include "text/TagScanner.h"
#include "text/TagSearch.h"

#include <QHash>
#include <QList>
#include <QString>
#include <cstdint>
#include <optional>
#include <utility>

// The pieces of the driver's line scan that the open-tag pre-pass of a batch
// runs as well: both walk the same tags and keep the open-tag list the same
// way, so the list the pre-pass predicts is the one validation reaches.

// Calls `visit(match)` for every tag of the line the driver takes, in line
// order; "<!" and "<?" constructs are no tags to it. A found tag holds no "<"
// but its first character, so such a construct is told by its second one.
template <class Visit> void WalkLineTagMatches(TagScanner& xml, QStringView line, Visit&& visit)
{
    qsizetype from = 0;
    while (const std::optional<TagMatch> tag = xml.FindTag(line, from)) {
        from = tag->start + 1;
        const QChar second = tag->text[1];
        if (second == u'!' || second == u'?')
            continue;
        visit(*tag);
    }
}

// The name and kind of a tag the walk found, as GetTagName and GetTagType
// read them. Such a tag is at least three characters long and holds one "<",
// its first character, and one ">", its last: what the general reading
// searches the whole tag for stands at its ends, so only the name is read
// through, for a blank or a ";".
struct FoundTagParts {
    QStringView name;
    TagKind kind = TagKind::None;
};
inline FoundTagParts PartsOfFoundTag(QStringView tag)
{
    const qsizetype size = tag.size();
    const bool slashFirst = tag[1] == u'/';
    const bool slashLast = tag[size - 2] == u'/';
    FoundTagParts parts;
    parts.kind = slashLast ? TagKind::Empty : slashFirst ? TagKind::End : TagKind::Start;
    // The name ends at the first blank anywhere in the tag; without one, it
    // runs between the "<" or "</" and the ">" or "/>".
    qsizetype blank = -1;
    for (qsizetype i = 1; i < size - 1; ++i) {
        if (tag[i] == u' ') {
            blank = i;
            break;
        }
    }
    if (blank >= 0)
        parts.name = tag.sliced(1, blank - 1);
    else if (slashFirst)
        parts.name = tag.sliced(2, size - 3);
    else if (slashLast)
        parts.name = tag.sliced(1, size - 3);
    else
        parts.name = tag.sliced(1, size - 2);
    for (qsizetype i = 0; i < parts.name.size(); ++i) {
        if (parts.name[i] == u';') {
            parts.name.truncate(i);
            break;
        }
    }
    return parts;
}

// Every field is written: the record may hold any older tag's values. The
// tag's line is a part of the document's own buffer, its text a part that
// holds no reference (UncountedPart). Answers
// the number the toolkit gives the tag's name.
inline std::int32_t FillTagContext(ValidationContext& context, ToolkitState& toolkit, const TagMatch& tag,
    const QString& line, std::int32_t lineStart, std::int32_t lineNumber, const QString& enclosingTag)
{
    const FoundTagParts parts = PartsOfFoundTag(tag.text);
    const ToolkitState::Name& name = toolkit.interned(parts.name);
    AssignUnlessSame(context.tagName, name.text);
    context.tagType = parts.kind;
    context.tagText = UncountedPart(line, tag.start, tag.text.size());
    AssignUnlessSame(context.enclosingTag, enclosingTag);
    AssignUnlessSame(context.lineText, line);
    const auto position = static_cast<std::int32_t>(tag.start + 1);
    context.linePosition = position;
    context.filePosition = position + lineStart;
    context.lineNumber = lineNumber;
    return name.id;
}

// The innermost open tag's text, empty when none is open.
inline const QString& InnermostOpenTag(const QList<ValidationContext>& openTags)
{
    static const QString none;
    return openTags.isEmpty() ? none : openTags.last().tagText;
}

// Follows one tag in the open-tag list: a start tag opens, an end tag closes
// the innermost open tag of its name. `names` keeps the numbers of the open
// tags' names (`nameId` is the tag's), so an end tag that closes nothing
// scans nothing. Answers where the end tag closed a tag, -1 for any other tag
// and an end tag that closed none.
inline qsizetype FollowOpenTags(QList<ValidationContext>& openTags, OpenTagNames& names,
    const ValidationContext& tag, std::int32_t nameId)
{
    if (tag.tagType == TagKind::Start) {
        openTags.append(tag);
        names.opened(nameId);
        return -1;
    }
    if (tag.tagType != TagKind::End)
        return -1;
    const auto at = static_cast<qsizetype>(names.innermost(nameId));
    if (at < 0)
        return -1;
    openTags.removeAt(at);
    names.closedAt(at);
    return at;
}

// Numbers the names of a list's tags afresh, as the toolkit numbers them.
inline void CountOpenTagNames(
    const QList<ValidationContext>& openTags, OpenTagNames& names, ToolkitState& toolkit)
{
    names.clear();
    for (const ValidationContext& open : openTags)
        names.opened(toolkit.nameId(open.tagName));
}
