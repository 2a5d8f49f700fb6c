#pragma once

#include "text/ToolkitState.h"

#include <QString>
#include <cstdint>

class OperatorInterface;

// The tag and text toolkit every rule reads tagged text through. Tags are
// found by plain text search for "<" and ">", not by a parser; the exact
// search rules are what the rules rely on. Positions are one-based on the
// UTF-16 text; "not found" is 0, the empty text, or -1 for RetrieveTags.
// The public operations keep the order of the original interface.
class xmlClass {
public:
    xmlClass(ToolkitState& shared, OperatorInterface& ui, const QString& applicationPath);

    QString GetPCDATA(const QString& source_string, const QString& start_tag, const QString& end_tag,
        std::int32_t& position);
    QString GetStringRange(const QString& source_string, const QString& start_string,
        const QString& end_string, std::int32_t position);
    QString GetAttributeValue(const QString& tag, const QString& attribute_name);
    QString GetTagName(const QString& tag);
    QString Get_nth_Tag(const QString& source_str, std::int32_t n, std::int32_t position);
    std::int16_t GetTagType(const QString& tag);
    std::int32_t CountStr(const QString& search_str, const QString& source_str, std::int16_t matchcase);
    QString GetNextLineStr(const QString& source_str, std::int32_t pos);
    QString GetPreviousLineStr(const QString& source_str, std::int32_t pos);
    QString GetFullTag(const QString& element, const QString& source_str, std::int32_t start_pos);
    QString RemoveTags(QString& str, bool include_PCDATA);
    QString RetrieveTags(const QString& str, std::int32_t& tag_pos);
    QString GetFileContent(const QString& file, std::int16_t& fileNo);
    QString GetFileRTB(const QString& file);
    QString ReplaceCharacters(const QString& source, const QString& replaceStr, const QString& newStr,
        const QString& delimeter, bool matchcase);
    std::int32_t GetCount(const QString& sStr, const QString& sStrCom, std::int32_t& l_col);

private:
    void NoteQuotedMarkup(const QString& tag, std::int32_t position, const QString& text);
    void AppendQuotedMarkupRecord(const QString& tag);
    QString RemoveElements(QString& str);

    ToolkitState& shared_;
    OperatorInterface& ui_;
    const QString& applicationPath_; // the configured application folder, read at call time
};
