#pragma once

#include "core/ToolkitState.h"
#include "core/ValidationContext.h"

class ElementIndex;

#include <QString>
#include <QStringView>
#include <cstdint>
#include <optional>

// The tag and text toolkit every rule reads tagged text through. Tags are
// found by plain text search for "<" and ">", not by a parser; the exact
// search rules are what the rules rely on. Positions are one-based on the
// UTF-16 text; "not found" is 0, the empty text, or -1 for RetrieveTags.
//
// An TagScanner is a light view over the run's ToolkitState: every view made
// from the same state shares its values, so the run has one toolkit however
// many views the rules make. It reads no files and shows nothing; reading
// input is InputLoading's work.
// How often a text occurs in another (overlaps counted) and the one-based
// position of its first occurrence, 0 when there is none.
struct StringCount {
    std::int32_t count = 0;
    std::int32_t firstPosition = 0;
    bool operator==(const StringCount&) const = default;
};

// A tag found in a text: where its "<" stands (zero-based) and its text,
// "<" to ">", as a view into the searched text.
struct TagMatch {
    qsizetype start = 0;
    QStringView text;
    qsizetype end() const { return start + text.size(); }
};

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
    TagKind GetTagType(QStringView tag) const;
    StringCount CountStr(const QString& search_str, const QString& source_str, std::int16_t matchcase) const;
    QString RemoveTags(QString& str, bool include_PCDATA);
    // RemoveTags(copy, true) of a part of a text, without the copy; the
    // part of the run's document is read through the document's index.
    QString ElementsRemoved(QStringView part);
    QString RetrieveTags(const QString& str, std::int32_t& tag_pos);
    // The first tag at or after `from` (zero-based), as RetrieveTags finds it
    // and with the same note of quoted markup; nothing when none is left.
    std::optional<TagMatch> FindTag(QStringView text, qsizetype from);

private:
    void NoteQuotedMarkup(QStringView tag, std::int32_t position, QStringView text);
    void AppendQuotedMarkupRecord(QStringView tag);
    QString RemoveElements(QString& str);
    QString removeElementsFrom(QStringView original, const ElementIndex& index, qsizetype indexOffset);

    ToolkitState& shared_;
};
