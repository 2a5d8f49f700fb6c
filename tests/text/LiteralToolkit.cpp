#include "LiteralToolkit.h"

#include <QStringList>

namespace {

// VB-style InStr: one-based, 0 when absent.
std::int32_t InStr(std::int32_t start, const QString& text, const QString& find)
{
    if (start < 1)
        start = 1;
    if (start > text.size() + 1)
        return 0;
    const qsizetype at = text.indexOf(find, start - 1);
    return at < 0 ? 0 : std::int32_t(at + 1);
}

QString Mid(const QString& text, std::int32_t start, std::int32_t length = -1)
{
    return text.mid(start - 1, length);
}

QString Trim(const QString& text)
{
    qsizetype b = 0, e = text.size();
    while (b < e && text[b] == u' ')
        ++b;
    while (e > b && text[e - 1] == u' ')
        --e;
    return text.mid(b, e - b);
}

QString TagName(const QString& tag)
{
    if (tag.isEmpty() || Mid(tag, 1, 1) != "<" || InStr(1, tag, ">") != tag.size())
        return {};
    QString name;
    if (InStr(1, tag, " ") > 0)
        name = Mid(tag, 2, InStr(1, tag, " ") - 2);
    else if (InStr(1, tag, "</") > 0)
        name = Mid(tag, 3, InStr(1, tag, ">") - 3);
    else if (InStr(1, tag, "/>") == 0)
        name = Mid(tag, 2, InStr(1, tag, ">") - 2);
    else
        name = Mid(tag, 2, InStr(1, tag, "/>") - 2);
    if (InStr(1, name, ";") > 0)
        name = Mid(name, 1, InStr(1, name, ";") - 1);
    return name;
}

// How often the separator occurs, by splitting the text at it.
std::int32_t countOf(const QString& text, const QString& separator)
{
    return std::int32_t(text.split(separator, Qt::KeepEmptyParts, Qt::CaseSensitive).size()) - 1;
}

} // namespace

QString LiteralToolkit::GetPCDATA(
    const QString& source, const QString& startTag, const QString& endTag, std::int32_t& position)
{
    if (position <= 0)
        position = 1;
    const std::int32_t s = InStr(position, source, startTag);
    std::int32_t e = s ? InStr(s + startTag.size(), source, endTag) : 0;
    const QString name = TagName(startTag);
    if (s == 0 || e == 0)
        return {};
    const std::int32_t contentStart = s + startTag.size();
    QString content = Mid(source, contentStart, e - contentStart);
    auto countOpens = [&] { return countOf(content, "<" + name + ">") + countOf(content, "<" + name + " "); };
    std::int32_t opens = countOpens();
    std::int32_t closes = countOf(content, endTag);
    while (opens != closes) {
        const std::int32_t previousOpens = opens, previousCloses = closes;
        e = InStr(e + 1, source, endTag);
        if (e > 0) {
            content = Mid(source, contentStart, e - contentStart);
            opens = countOpens();
            closes = countOf(content, endTag);
        }
        if (opens == previousOpens && closes == previousCloses)
            return {};
    }
    return content;
}

QString LiteralToolkit::candidateSearch(
    const QString& str, std::int32_t start, std::int32_t& foundAt, bool note)
{
    foundAt = 0;
    for (;;) {
        const std::int32_t lt = InStr(start, str, "<");
        if (lt == 0)
            return {};
        const std::int32_t gt = InStr(lt + 1, str, ">");
        if (gt == 0)
            return {};
        const QString candidate = Trim(Mid(str, lt, gt - lt + 1));
        if (note && candidate.contains(u'"'))
            noteQuotedMarkup(candidate, lt, str);
        const bool strayInside = InStr(2, candidate, "<") > 0;
        const bool rejected
            = candidate.contains("<>") || candidate.contains("< ") || candidate.contains("<<") || strayInside;
        if (!rejected) {
            foundAt = lt;
            return candidate;
        }
        start = (strayInside || candidate.contains("<<") || candidate.contains("< ")) ? lt + 1 : gt + 1;
    }
}

QString LiteralToolkit::RetrieveTags(const QString& str, std::int32_t& tagPos)
{
    std::int32_t at = 0;
    const QString tag = candidateSearch(str, tagPos, at, true);
    tagPos = at == 0 ? -1 : at;
    return tag;
}

void LiteralToolkit::noteQuotedMarkup(const QString& tag, std::int32_t position, const QString& text)
{
    const std::int32_t q = InStr(1, tag, "\"");
    const std::int32_t valueStart = position + q;
    const std::int32_t closing = InStr(valueStart, text, "\"");
    if (closing == 0)
        return;
    const QString value = Mid(text, valueStart, closing - valueStart);
    if (InStr(1, value, "<") == 0 && InStr(1, value, ">") == 0)
        return;
    const QString record = "[" + QString::number(shared_.currentLineNumber) + tag + "]";
    if (InStr(1, shared_.QuotedMarkupNote, record) == 0)
        shared_.QuotedMarkupNote += record;
}

QString LiteralToolkit::RemoveTags(QString& str, bool includePcdata)
{
    std::int32_t tagPos = 1;
    QString tag = RetrieveTags(str, tagPos);
    while (tagPos != -1) {
        if (!includePcdata) {
            str.replace(tag, QString());
            if (InStr(1, tag, "/>") == 0)
                str.replace("</" + TagName(tag) + ">", QString());
            tagPos = 1;
        } else {
            if (!tag.contains("/>") && !tag.contains("</")) {
                const QString endTag = "</" + TagName(tag) + ">";
                std::int32_t position = tagPos;
                const QString content = GetPCDATA(str, tag, endTag, position);
                const QString element = tag + content + endTag;
                if (Mid(str, tagPos, element.size()).toUpper() == element.toUpper()) {
                    str = Mid(str, 1, tagPos - 1) + "teMpSEparAtor" + Mid(str, tagPos + element.size());
                }
            }
            tagPos = tagPos + 1;
        }
        tag = RetrieveTags(str, tagPos);
    }
    return str;
}
