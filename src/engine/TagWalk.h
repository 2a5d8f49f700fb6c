#pragma once

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
// order; "<!" and "<?" constructs are no tags to it.
template <class Visit> void WalkLineTagMatches(TagScanner& xml, QStringView line, Visit&& visit)
{
    qsizetype from = 0;
    while (const std::optional<TagMatch> tag = xml.FindTag(line, from)) {
        from = tag->start + 1;
        if (TagSearch::IndexOfPair(tag->text, u'<', u'!') >= 0
            || TagSearch::IndexOfPair(tag->text, u'<', u'?') >= 0)
            continue;
        visit(*tag);
    }
}

// The same, as the driver takes them: `visit(tag, position)` with the tag's
// text and its one-based position in the line.
template <class Visit> void WalkLineTags(TagScanner& xml, const QString& line, Visit&& visit)
{
    WalkLineTagMatches(xml, line,
        [&](const TagMatch& tag) { visit(tag.text.toString(), static_cast<std::int32_t>(tag.start + 1)); });
}

// Every field is written: the record may hold any older tag's values.
inline void FillTagContext(ValidationContext& context, const TagScanner& xml, QString&& tag,
    const QString& line, std::int32_t position, std::int32_t lineStart, std::int32_t lineNumber,
    const QString& enclosingTag)
{
    context.tagName = xml.GetTagName(tag);
    context.tagType = xml.GetTagType(tag);
    context.tagText = std::move(tag);
    context.enclosingTag = enclosingTag;
    if (!context.lineText.isSharedWith(line))
        context.lineText = line;
    context.linePosition = position;
    context.filePosition = position + lineStart;
    context.lineNumber = lineNumber;
}

// The innermost open tag's text, empty when none is open.
inline QString InnermostOpenTag(const QList<ValidationContext>& openTags)
{
    return openTags.isEmpty() ? QString() : openTags.last().tagText;
}

// Follows one tag in the open-tag list: a start tag opens, an end tag closes
// the innermost open tag of its name. `names` counts the open tags by name,
// so an end tag that closes nothing scans nothing. Answers where the end tag
// closed a tag, -1 for any other tag and an end tag that closed none.
inline qsizetype FollowOpenTags(
    QList<ValidationContext>& openTags, QHash<QString, int>& names, const ValidationContext& tag)
{
    if (tag.tagType == TagKind::Start) {
        openTags.append(tag);
        ++names[tag.tagName];
        return -1;
    }
    if (tag.tagType != TagKind::End)
        return -1;
    const auto open = names.find(tag.tagName);
    if (open == names.end())
        return -1;
    for (qsizetype i = openTags.size() - 1; i >= 0; --i) {
        if (openTags[i].tagName == tag.tagName) {
            openTags.removeAt(i);
            if (--*open == 0)
                names.erase(open);
            return i;
        }
    }
    return -1;
}
