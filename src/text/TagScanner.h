#pragma once

#include "core/ToolkitState.h"
#include "core/ValidationContext.h"

#include <QString>
#include <QStringView>
#include <cstdint>
#include <optional>

class ElementIndex;

// A tag found in a text: where its "<" stands (zero-based) and its text,
// "<" to ">", as a view into the searched text.
struct TagMatch {
    qsizetype start = 0;
    QStringView text;
    qsizetype end() const { return start + text.size(); }
};

// The tag and text toolkit every rule reads tagged text through. Tags are
// found by plain text search for "<" and ">", not by a parser; the exact
// search rules are what the rules rely on. Tag matches are zero-based views
// into the searched text; the older text operations take and give one-based
// positions on the UTF-16 text, "not found" being 0 or the empty text.
//
// A TagScanner is a light view over the run's ToolkitState: every view made
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
    QString GetTagName(QStringView tag) const;
    TagKind GetTagType(QStringView tag) const;
    QString RemoveTags(QString& str, bool include_PCDATA);
    // RemoveTags(copy, true) of a part of a text, without the copy; the
    // part of the run's document is read through the document's index.
    QString ElementsRemoved(QStringView part);
    // The first tag at or after `from` (zero-based; below 0 reads as 0):
    // a "<" up to the first ">" after it, neither "<" nor ">" in between,
    // not followed by a blank or ">". Every candidate examined on the way
    // whose quoted value holds "<" or ">" is noted, once per line and tag.
    // Nothing when no tag is left.
    std::optional<TagMatch> FindTag(QStringView text, qsizetype from);

private:
    void NoteQuotedMarkup(QStringView tag, std::int32_t position, QStringView text);
    void AppendQuotedMarkupRecord(QStringView tag);
    QString RemoveElements(QString& str);
    QString removeElementsFrom(QStringView original, const ElementIndex& index, qsizetype indexOffset);

    ToolkitState& shared_;
};
