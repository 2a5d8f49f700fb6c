#pragma once

#include "core/ToolkitState.h"
#include "core/ValidationContext.h"

#include <QString>
#include <cstdint>

// The tag and text toolkit every rule reads tagged text through. Tags are
// found by plain text search for "<" and ">", not by a parser; the exact
// search rules are what the rules rely on. Positions are one-based on the
// UTF-16 text; "not found" is 0, the empty text, or -1 for RetrieveTags.
//
// An TagScanner is a light view over the run's ToolkitState: every view made
// from the same state shares its values, so the run has one toolkit however
// many views the rules make. It reads no files and shows nothing; reading
// input is InputLoading's work.
class TagScanner {
public:
    explicit TagScanner(ToolkitState& shared)
        : shared_(shared)
    {
    }

    QString GetPCDATA(const QString& source_string, const QString& start_tag, const QString& end_tag,
        std::int32_t& position) const;
    QString GetAttributeValue(const QString& tag, const QString& attribute_name) const;
    QString GetTagName(const QString& tag) const;
    TagKind GetTagType(const QString& tag) const;
    QString RemoveTags(QString& str, bool include_PCDATA);
    QString RetrieveTags(const QString& str, std::int32_t& tag_pos);

private:
    void NoteQuotedMarkup(const QString& tag, std::int32_t position, const QString& text);
    void AppendQuotedMarkupRecord(const QString& tag);
    QString RemoveElements(QString& str);

    ToolkitState& shared_;
};
