#pragma once

#include <QString>
#include <cstdint>

// What kind of tag a tag text is; None for a text that is no complete tag.
enum class TagKind : std::int16_t { None = 0, Start = 1, End = 2, Empty = 3 };

// The record of the tag being validated. Copies of it are kept for the
// previous tag, the previous start tag and every open start tag.
struct ValidationContext {
    QString tagText; // "<" to ">" inclusive, as found in the line
    QString tagName; // as GetTagName returns it
    QString enclosingTag; // innermost open start tag before this tag was read
    TagKind tagType = TagKind::None;
    std::int32_t filePosition = 0; // line position + the line's start offset
    std::int32_t linePosition = 0; // one-based position of "<" in the line
    std::int32_t lineNumber = 0; // one-based
    QString lineText;
    // An open tag of the document being checked is listed without its line
    // and enclosing tag, which no rule reads from the list: the driver keeps
    // where they are and fills them in when the file ends. -1: the record is
    // whole.
    std::int32_t enclosingStart = -1; // in the document; -2 when enclosingTag already holds it
    std::int32_t enclosingLength = 0;
};
