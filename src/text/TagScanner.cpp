#include "text/TagScanner.h"

#include "core/ElementIndex.h"
#include "text/TagSearch.h"
#include "text/TagStripper.h"

namespace {

const QString kRemovedElementMarker = QStringLiteral("teMpSEparAtor");

// Whether the text starts with the start tag, the content and the end tag of
// the name, letter case aside, compared piece by piece rather than built into
// one string: the content is mostly the very characters of the text, and
// then there is nothing to compare.
bool readsAsElement(QStringView text, QStringView tag, QStringView content, QStringView name)
{
    const qsizetype endAt = tag.size() + content.size();
    if (text.size() < endAt + name.size() + 3)
        return false;
    const QStringView there = text.sliced(tag.size(), content.size());
    return text.first(tag.size()).compare(tag, Qt::CaseInsensitive) == 0
        && (there.data() == content.data() || there.compare(content, Qt::CaseInsensitive) == 0)
        && text.sliced(endAt, 2) == u"</"
        && text.sliced(endAt + 2, name.size()).compare(name, Qt::CaseInsensitive) == 0
        && text[endAt + 2 + name.size()] == u'>';
}
const QString kLineBreak = QStringLiteral("\r\n");

// One-based search from a one-based start, 0 when absent. Starts below 1 are
// taken as 1: the toolkit never fails on a bad position.
std::int32_t Find(
    QStringView text, QStringView needle, qsizetype start, Qt::CaseSensitivity cs = Qt::CaseSensitive)
{
    start = std::max<qsizetype>(start, 1);
    if (start > text.size() + 1)
        return 0;
    const qsizetype found = text.indexOf(needle, start - 1, cs);
    return found < 0 ? 0 : static_cast<std::int32_t>(found + 1);
}

// A name the element index keys its tags by.
bool isPlainName(const QString& name)
{
    return !name.isEmpty() && !name.contains(u' ') && !name.contains(u'<') && !name.contains(u'>');
}

} // namespace

QString TagScanner::GetPCDATA(const QString& source_string, const QString& start_tag, const QString& end_tag,
    std::int32_t& position) const
{
    if (position <= 0)
        position = 1;
    const std::int32_t s = Find(source_string, start_tag, position);
    if (s == 0)
        return {};
    const QString name = GetTagName(start_tag);
    if (const ElementIndex* index = shared_.indexFor(source_string); index && isPlainName(name)
        && end_tag.size() == name.size() + 3 && end_tag.startsWith(u"</") && end_tag.endsWith(u'>')
        && QStringView(end_tag).sliced(2, name.size()) == name) {
        const std::optional<QStringView> content = index->elementContent(s - 1, start_tag.size(), name);
        return content ? content->toString() : QString();
    }
    std::int32_t e = Find(source_string, end_tag, s + start_tag.size());
    if (e == 0)
        return {};
    const QString openExact = u'<' + name + u'>';
    const QString openWithBlank = u'<' + name + u' ';
    const qsizetype contentStart = s - 1 + start_tag.size();

    // The content only ever grows to the right, so each count resumes where
    // it stopped instead of recounting the whole content every round.
    TagSearch::GrowingCount exactOpens(source_string, openExact, contentStart);
    TagSearch::GrowingCount blankOpens(source_string, openWithBlank, contentStart);
    TagSearch::GrowingCount closesSeen(source_string, end_tag, contentStart);
    qsizetype opens = exactOpens.extendTo(e - 1) + blankOpens.extendTo(e - 1);
    qsizetype closes = closesSeen.extendTo(e - 1);
    while (opens != closes) {
        e = Find(source_string, end_tag, e + 1);
        if (e == 0)
            return {}; // no further end tag: the counts cannot change any more
        const qsizetype newOpens = exactOpens.extendTo(e - 1) + blankOpens.extendTo(e - 1);
        const qsizetype newCloses = closesSeen.extendTo(e - 1);
        if (newOpens == opens && newCloses == closes)
            return {};
        opens = newOpens;
        closes = newCloses;
    }
    return source_string.mid(contentStart, e - 1 - contentStart);
}

QString TagScanner::GetAttributeValue(const QString& tag, const QString& attribute_name) const
{
    if (attribute_name.isEmpty())
        return {};
    const QString pattern = u' ' + attribute_name + QStringLiteral("=\"");
    const qsizetype at = tag.indexOf(pattern);
    if (at < 0)
        return {};
    const qsizetype valueStart = at + pattern.size();
    const qsizetype closingQuote = tag.indexOf(u'"', valueStart);
    return closingQuote < 0 ? QString() : tag.mid(valueStart, closingQuote - valueStart);
}

QString TagScanner::GetTagName(QStringView tag) const
{
    return shared_.internedName(TagSearch::TagNameViewOf(tag));
}

TagKind TagScanner::GetTagType(QStringView tag) const
{
    if (tag.isEmpty() || tag.front() != u'<' || tag.back() != u'>')
        return TagKind::None;
    if (TagSearch::IndexOfPair(tag, u'/', u'>') >= 0)
        return TagKind::Empty;
    if (TagSearch::IndexOfPair(tag, u'<', u'/') >= 0)
        return TagKind::End;
    return TagKind::Start;
}

QString TagScanner::RemoveTags(QString& str, bool include_PCDATA)
{
    if (include_PCDATA)
        return RemoveElements(str);
    TagStripper stripper(str, [this](const QString& candidate) { AppendQuotedMarkupRecord(candidate); });
    str = stripper.run();
    return str;
}

std::optional<TagMatch> TagScanner::FindTag(QStringView text, qsizetype from)
{
    const auto candidate
        = TagSearch::FindCandidate(text, std::max<qsizetype>(from, 0), [&](qsizetype lt, qsizetype gt) {
              NoteQuotedMarkup(text.sliced(lt, gt - lt + 1), static_cast<std::int32_t>(lt + 1), text);
          });
    if (!candidate)
        return std::nullopt;
    return TagMatch { candidate->lt, text.sliced(candidate->lt, candidate->gt - candidate->lt + 1) };
}

void TagScanner::NoteQuotedMarkup(QStringView tag, std::int32_t position, QStringView text)
{
    const qsizetype quote = tag.indexOf(u'"');
    if (quote < 0)
        return;
    const qsizetype valueStart = position - 1 + quote + 1;
    // Without a closing quote there is no value to judge; reading to the end would flag every stray quote.
    const qsizetype valueEnd = text.indexOf(u'"', valueStart);
    if (valueEnd < 0)
        return;
    const QStringView value = text.sliced(valueStart, valueEnd - valueStart);
    if (value.contains(u'<') || value.contains(u'>'))
        AppendQuotedMarkupRecord(tag);
}

void TagScanner::AppendQuotedMarkupRecord(QStringView tag)
{
    QString record = u'[' + QString::number(shared_.currentLineNumber);
    record += tag;
    record += u']';
    shared_.quotedMarkupHasBrackets
        = shared_.quotedMarkupHasBrackets || tag.contains(u'[') || tag.contains(u']');
    const bool noted = shared_.quotedMarkupHasBrackets ? shared_.QuotedMarkupNote.contains(record)
                                                       : shared_.quotedMarkupRecords.contains(record);
    if (noted)
        return;
    shared_.QuotedMarkupNote += record;
    shared_.quotedMarkupRecords.insert(record);
}

QString TagScanner::RemoveElements(QString& str)
{
    const QString original = str;
    const ElementIndex index(original);
    str = removeElementsFrom(original, index, 0);
    return str;
}

QString TagScanner::ElementsRemoved(QStringView part)
{
    // Where a "<" follows the part, no tag name read by the index runs over
    // its end, and the file's index holds the part's tags as its own would.
    if (const ElementIndex* index = shared_.indexCovering(part)) {
        const qsizetype offset = part.data() - index->text().data();
        const QStringView after = index->text().sliced(offset + part.size());
        if (after.isEmpty() || after.front() == u'<')
            return removeElementsFrom(part, *index, offset);
    }
    const ElementIndex own(part);
    return removeElementsFrom(part, own, 0);
}

// `index` reads a text in which `original` starts at `indexOffset`. An index
// of a larger text answers as one of `original` alone would, as long as an
// element whose end tag does not lie wholly inside counts as not closed:
// between the two ends the same tags stand, and their nesting is the same.
QString TagScanner::removeElementsFrom(QStringView original, const ElementIndex& index, qsizetype indexOffset)
{
    QString result;
    result.reserve(original.size()); // seldom more: only elements shorter than the marker grow
    qsizetype copiedUpTo = 0;
    qsizetype from = 0;
    for (;;) {
        const std::optional<TagMatch> tag = FindTag(original, from);
        if (!tag)
            break;
        from = tag->start + 1;
        if (GetTagType(tag->text) != TagKind::Start)
            continue;
        const qsizetype start = tag->start;
        const QString name = TagSearch::TagNameOf(tag->text);
        std::optional<QStringView> content
            = index.elementContent(indexOffset + start, tag->text.size(), name);
        if (content
            && content->data() + content->size() + name.size() + 3 > original.data() + original.size())
            content.reset(); // its end tag is not wholly inside
        const QStringView pcdata = content.value_or(QStringView());
        const qsizetype elementLength = tag->text.size() + pcdata.size() + name.size() + 3; // "</" name ">"
        // GetPCDATA answers "" both for an empty element and for one it could not close, so
        // the element is only taken when the text really reads start tag + content + end tag
        // there (letter case aside). An unclosed start tag stays, and its inner elements are
        // still removed one by one; a removed element takes its nested elements with it,
        // which is what the word checks want: nothing inside a nested element is read.
        if (!readsAsElement(original.sliced(start), tag->text, pcdata, name))
            continue;
        result += original.sliced(copiedUpTo, start - copiedUpTo);
        result += kRemovedElementMarker;
        copiedUpTo = start + elementLength;
        from = copiedUpTo;
    }
    result += original.sliced(copiedUpTo);
    return result;
}
