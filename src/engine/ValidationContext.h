#pragma once

#include <QString>
#include <cstdint>

// The record of the tag being validated. Copies of it are kept for the
// previous tag, the previous start tag and every open start tag.
struct ValidationContext {
    QString tagText; // "<" to ">" inclusive, as found in the line
    QString tagName; // as GetTagName returns it
    QString enclosingTag; // innermost open start tag before this tag was read
    std::int16_t tagType = 0; // 1 start, 2 end, 3 empty
    std::int32_t filePosition = 0; // line position + the line's start offset
    std::int32_t linePosition = 0; // one-based position of "<" in the line
    std::int32_t lineNumber = 0; // one-based
    QString lineText;
};
