#pragma once

#include <QSet>
#include <QString>

// The tag index of a table: "[" + tag + "]" for every row, in file order, a
// text that is searched for "[" + name + "]" with letter case ignored. The
// search is asked for every tag of a file, so the usual tags, those without
// square brackets, are also kept as a set: for them a hit in the text can
// only be one whole bracketed tag, and one hash look-up answers it.
class TagNameIndex {
public:
    void add(const QString& tag);
    // Whether "[" + name + "]" occurs in the index text, letter case aside.
    bool holds(const QString& name) const;
    const QString& text() const { return text_; }
    bool isEmpty() const { return text_.isEmpty(); }

private:
    QString text_;
    QSet<QString> folded_;
    bool bracketsInTags_ = false;
};
