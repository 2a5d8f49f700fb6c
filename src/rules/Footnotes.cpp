#include "rules/Footnotes.h"

#include "core/ElementIndex.h"
#include "engine/RuleContext.h"
#include "text/TagScanner.h"

#include <optional>

namespace {

// Whether every "<" of the text meets a ">" before the next "<" (or no ">"
// at all): then the tags are the only "<...>" texts, and replacing one tag
// text everywhere changes nothing the search has not yet reached but copies
// of that same tag.
bool tagsAreSimple(QStringView content)
{
    bool inTag = false;
    for (const QChar c : content) {
        if (c == u'<') {
            if (inTag)
                return false;
            inTag = true;
        } else if (c == u'>') {
            inTag = false;
        }
    }
    return true;
}

// Every tag inside the footnote becomes "-", so tags separate words: each tag
// text met from left to right is replaced wherever it occurs.
QString separatorsFor(QString content)
{
    if (tagsAreSimple(content)) {
        // The same result in one pass, so a footnote full of tags stays linear.
        QString result;
        result.reserve(content.size());
        qsizetype from = 0;
        for (qsizetype open = content.indexOf(u'<'); open >= 0; open = content.indexOf(u'<', from)) {
            const qsizetype close = content.indexOf(u'>', open);
            if (close < 0)
                break;
            result += QStringView(content).sliced(from, open - from);
            result += QLatin1Char('-');
            from = close + 1;
        }
        result += QStringView(content).sliced(from);
        return result;
    }
    qsizetype from = 0;
    for (;;) {
        const qsizetype open = content.indexOf(QLatin1Char('<'), from);
        if (open < 0)
            break;
        const qsizetype close = content.indexOf(QLatin1Char('>'), open);
        if (close < 0)
            break;
        content.replace(content.mid(open, close - open + 1), QStringLiteral("-"));
        from = open;
    }
    return content;
}

bool isWordCharacter(QChar upper)
{
    return (upper >= u'A' && upper <= u'Z') || (upper >= u'0' && upper <= u'9');
}

// Reads the footnote text character by character and tells, as soon as it is
// known, whether the reference value stands as one of the first two words.
// A word still being collected when the content ends is never compared, so a
// mark that is the footnote's very last text goes unreported.
class FirstTwoWords {
public:
    explicit FirstTwoWords(const QString& upperReference)
        : reference_(upperReference)
    {
    }

    std::optional<bool> feed(QChar c)
    {
        const QChar upper = c.toUpper();
        if (isWordCharacter(upper)) {
            word_ += upper;
            return std::nullopt;
        }
        if (compared_ >= 2)
            return false;
        if (word_.isEmpty())
            return std::nullopt;
        if (word_ == reference_)
            return true;
        ++compared_;
        word_.clear();
        return std::nullopt;
    }

private:
    const QString& reference_;
    QString word_;
    int compared_ = 0;
};

bool referenceInFirstTwoWords(QStringView content, const QString& upperReference)
{
    FirstTwoWords words(upperReference);
    for (const QChar c : content) {
        if (const std::optional<bool> answer = words.feed(c))
            return *answer;
    }
    return false;
}

// The same answer read only as far as it is needed, tags taken as "-" on the
// way: a footnote that holds footnotes is not read to its end for each of
// them. Nothing when a tag holds a "<" before the answer is known: replacing
// such a tag everywhere can change how later text splits, so the whole
// content must be read the plain way.
std::optional<bool> referenceInFirstTwoWordsSoFar(QStringView content, const QString& upperReference)
{
    FirstTwoWords words(upperReference);
    for (qsizetype i = 0; i < content.size(); ++i) {
        QChar c = content[i];
        if (c == u'<') {
            const qsizetype close = content.indexOf(u'>', i);
            if (close >= 0) {
                if (content.sliced(i + 1, close - i - 1).contains(u'<'))
                    return std::nullopt;
                c = u'-';
                i = close;
            }
        }
        if (const std::optional<bool> answer = words.feed(c))
            return answer;
    }
    return false;
}

} // namespace

void UNDELFNREF(RuleContext& rule)
{
    const TagScanner xml(rule.toolkit);
    const ValidationContext& context = rule.tag;
    if (context.tagName != QLatin1String("fn") || context.tagType != TagKind::Start)
        return;
    const QString reference = xml.GetAttributeValue(context.tagText, QStringLiteral("fnref"));
    if (reference.isEmpty())
        return;
    if (!FootnoteMarkInFirstTwoWords(rule, reference.toUpper()))
        return;
    rule.reportAtTag(rule.parameterSeverity, QStringLiteral("fnref value found in the first two words"));
}

bool FootnoteMarkInFirstTwoWords(QStringView content, const QString& upperReference)
{
    if (const std::optional<bool> answer = referenceInFirstTwoWordsSoFar(content, upperReference))
        return *answer;
    return referenceInFirstTwoWords(TagsAsSeparators(content.toString()), upperReference);
}

bool FootnoteMarkInFirstTwoWords(const RuleContext& rule, const QString& upperReference)
{
    const ValidationContext& context = rule.tag;
    // The document's element index gives the content as a view of the text,
    // without a copy of what may be most of the file.
    if (const ElementIndex* index = rule.toolkit.indexFor(rule.document)) {
        const std::optional<QStringView> content
            = index->elementContent(context.filePosition - 1, context.tagText.size(), context.tagName);
        return FootnoteMarkInFirstTwoWords(content.value_or(QStringView()), upperReference);
    }
    std::int32_t position = context.filePosition;
    const QString content = TagScanner(rule.toolkit)
                                .GetPCDATA(rule.document, context.tagText,
                                    QStringLiteral("</") + context.tagName + QLatin1Char('>'), position);
    return FootnoteMarkInFirstTwoWords(content, upperReference);
}

QString TagsAsSeparators(const QString& content)
{
    return separatorsFor(content);
}
