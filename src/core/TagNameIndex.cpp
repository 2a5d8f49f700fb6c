#include "core/TagNameIndex.h"

namespace {

bool hasSquareBracket(const QString& text)
{
    return text.contains(u'[') || text.contains(u']');
}

} // namespace

void TagNameIndex::add(const QString& tag)
{
    text_ += u'[' + tag + u']';
    folded_.insert(tag.toCaseFolded());
    bracketsInTags_ = bracketsInTags_ || hasSquareBracket(tag);
}

bool TagNameIndex::holds(const QString& name) const
{
    if (bracketsInTags_ || hasSquareBracket(name))
        return text_.contains(u'[' + name + u']', Qt::CaseInsensitive);
    // A name that needs no folding is looked up as it is, without a copy.
    return folded_.contains(name.toCaseFolded());
}
