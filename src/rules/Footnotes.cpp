#include "rules/Footnotes.h"

#include "core/RunState.h"
#include "engine/RuleHelpers.h"
#include "text/xmlClass.h"

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

// Whether the reference value stands as one of the first two words. A word
// still being collected when the content ends is never compared, so a mark
// that is the footnote's very last text goes unreported.
bool referenceInFirstTwoWords(const QString& content, const QString& upperReference)
{
    QString word;
    int compared = 0;
    for (const QChar c : content) {
        const QChar upper = c.toUpper();
        if (isWordCharacter(upper)) {
            word += upper;
            continue;
        }
        if (compared >= 2)
            return false;
        if (word.isEmpty())
            continue;
        if (word == upperReference)
            return true;
        ++compared;
        word.clear();
    }
    return false;
}

} // namespace

void UNDELFNREF(RunState& state)
{
    const xmlClass xml(state.toolkit);
    const ValidationContext& context = state.context;
    if (context.tagName != QLatin1String("fn") || context.tagType != TagKind::Start)
        return;
    const QString reference = xml.GetAttributeValue(context.tagText, QStringLiteral("fnref"));
    if (reference.isEmpty())
        return;
    std::int32_t position = context.filePosition;
    const QString content = xml.GetPCDATA(state.wholeText, context.tagText,
        QStringLiteral("</") + context.tagName + QLatin1Char('>'), position);
    if (!referenceInFirstTwoWords(TagsAsSeparators(content), reference.toUpper()))
        return;
    ReportBySeverity(state, state.routineParameter, context.lineNumber,
        QStringLiteral("fnref value found in the first two words"), DataContentAt(state, 0),
        context.linePosition);
}

QString TagsAsSeparators(const QString& content)
{
    return separatorsFor(content);
}
