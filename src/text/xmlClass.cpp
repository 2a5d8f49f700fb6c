#include "text/xmlClass.h"

// Placeholder bodies until the toolkit lands; every operation answers "not found".
xmlClass::xmlClass(ToolkitState& shared, OperatorInterface& ui, const QString& applicationPath)
    : shared_(shared), ui_(ui), applicationPath_(applicationPath)
{
}

QString xmlClass::GetPCDATA(const QString&, const QString&, const QString&, std::int32_t&) { return {}; }
QString xmlClass::GetStringRange(const QString&, const QString&, const QString&, std::int32_t) { return {}; }
QString xmlClass::GetAttributeValue(const QString&, const QString&) { return {}; }
QString xmlClass::GetTagName(const QString&) { return {}; }
QString xmlClass::Get_nth_Tag(const QString&, std::int32_t, std::int32_t) { return {}; }
std::int16_t xmlClass::GetTagType(const QString&) { return 0; }
std::int32_t xmlClass::CountStr(const QString&, const QString&, std::int16_t) { return 0; }
QString xmlClass::GetNextLineStr(const QString&, std::int32_t) { return {}; }
QString xmlClass::GetPreviousLineStr(const QString&, std::int32_t) { return {}; }
QString xmlClass::GetFullTag(const QString&, const QString&, std::int32_t) { return {}; }
QString xmlClass::RemoveTags(QString&, bool) { return {}; }
QString xmlClass::RetrieveTags(const QString&, std::int32_t& tag_pos) { tag_pos = -1; return {}; }
QString xmlClass::GetFileContent(const QString&, std::int16_t&) { return {}; }
QString xmlClass::GetFileRTB(const QString&) { return {}; }
QString xmlClass::ReplaceCharacters(const QString& source, const QString&, const QString&, const QString&, bool) { return source; }
std::int32_t xmlClass::GetCount(const QString&, const QString&, std::int32_t&) { return 0; }
void xmlClass::NoteQuotedMarkup(const QString&, std::int32_t, const QString&) {}
