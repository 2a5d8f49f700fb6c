#include "rules/ConversionText.h"

#include "core/RunState.h"
#include "text/ElementIndex.h"
#include "text/xmlClass.h"

QString CurrentElementContent(RunState& state)
{
    const ValidationContext& context = state.context;
    const QString& name = context.tagName;
    const bool plainName
        = !name.isEmpty() && !name.contains(u' ') && !name.contains(u'<') && !name.contains(u'>');
    const qsizetype tagStart = context.filePosition - 1;
    const bool tagInPlace = tagStart >= 0
        && QStringView(state.wholeText).mid(tagStart, context.tagText.size()) == context.tagText;
    if (!plainName || !tagInPlace) {
        // Not a tag of the validated text as the scanner cut it: ask the
        // toolkit directly.
        const xmlClass xml(state.toolkit);
        std::int32_t position = context.filePosition;
        return xml.GetPCDATA(state.wholeText, context.tagText, QStringLiteral("</") + name + u'>', position);
    }
    // One index of the whole file serves every tag: searching for the end
    // tag afresh would cost a pass per unclosed element.
    if (!state.conversion.elements)
        state.conversion.elements = std::make_shared<const ElementIndex>(QStringView(state.wholeText));
    const auto content = state.conversion.elements->elementContent(tagStart, context.tagText.size(), name);
    return content ? content->toString() : QString();
}

void PrecedingText::extendTo(QStringView whole, qsizetype end)
{
    end = std::min(end, whole.size());
    if (end <= fed_)
        return;
    dasher_.append(whole.sliced(fed_, end - fed_));
    fed_ = end;
}

QChar PrecedingText::at(qsizetype index) const
{
    const QString& finished = dasher_.finished();
    return index < finished.size() ? finished[index] : dasher_.pending()[index - finished.size()];
}

bool PrecedingText::endsWithExpanded(const QString& expanded)
{
    if (expanded.isEmpty())
        return false;
    const QString& finished = dasher_.finished();
    const QString& pending = dasher_.pending();

    // The finished text only grows: look at each of its parts once.
    for (; wordScanned_ < finished.size(); ++wordScanned_) {
        if (IsWordCharacter(finished[wordScanned_]))
            lastWord_ = wordScanned_;
    }
    Occurrence& known = occurrences_[expanded];
    for (qsizetype from = std::max<qsizetype>(0, known.searched - expanded.size() + 1);;) {
        const qsizetype found = finished.indexOf(expanded, from, Qt::CaseInsensitive);
        if (found < 0)
            break;
        known.last = found;
        from = found + 1;
    }
    known.searched = finished.size();

    // An occurrence that reaches into the pending text is later than any
    // that lies wholly in the finished text.
    const qsizetype overlap = std::min(finished.size(), expanded.size() - 1);
    const QString tail = finished.right(overlap) + pending;
    qsizetype last = known.last;
    if (const qsizetype inTail = tail.lastIndexOf(expanded, -1, Qt::CaseInsensitive); inTail >= 0)
        last = finished.size() - overlap + inTail;
    if (last < 0)
        return false;

    qsizetype lastWord = lastWord_;
    for (qsizetype i = pending.size() - 1; i >= 0; --i) {
        if (IsWordCharacter(pending[i])) {
            lastWord = finished.size() + i;
            break;
        }
    }
    if (last > 0 && IsWordCharacter(at(last - 1)))
        return false;
    return lastWord < last + expanded.size();
}
