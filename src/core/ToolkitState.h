#pragma once

#include "core/ElementIndex.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringView>
#include <array>
#include <cstdint>
#include <memory>

// Values that the tag toolkit shares with the validation run. They live in
// the run state; the toolkit only holds a reference to them.
struct ToolkitState {
    QString QuotedMarkupNote; // appended by NoteQuotedMarkup
    // The records already in the note. While no record holds a bracket of its
    // own, a record occurs in the note exactly when it is one of these, so the
    // growing note need not be searched for each new one.
    QSet<QString> quotedMarkupRecords;
    bool quotedMarkupHasBrackets = false;
    void clearQuotedMarkupNote()
    {
        QuotedMarkupNote.clear();
        quotedMarkupRecords.clear();
        quotedMarkupHasBrackets = false;
    }
    std::int32_t currentLineNumber = 0; // the driver's current line, for the note

    // A tag name as a string shared with the earlier tags of that name, so
    // that naming a tag mostly allocates nothing; a null name stays null.
    // With it comes the name's number: the toolkit numbers the names it
    // meets from 0, for good (-1 for the null name), so that the driver
    // compares and counts names as numbers. A few slots chosen by length and
    // end characters hold the names last made: a file has few names, and a
    // look here costs less than a hash. The answer stays valid until the
    // next name is asked for.
    struct Name {
        QString text;
        std::int32_t id = -1;
    };
    const Name& interned(QStringView name)
    {
        static const Name none;
        if (name.isNull())
            return none;
        const std::size_t mix = std::size_t(name.size()) * 31
            + (name.isEmpty() ? 0 : std::size_t(name.front().unicode()) * 7 + name.back().unicode());
        Name& kept = recentNames_[mix % recentNames_.size()];
        if (kept.text.isNull() || QStringView(kept.text) != name) {
            kept.text = name.toString();
            kept.id = nameId(kept.text);
        }
        return kept;
    }
    const QString& internedName(QStringView name) { return interned(name).text; }
    // The number of a name, given to it now when it has none yet.
    std::int32_t nameId(const QString& name)
    {
        auto known = nameIds_.constFind(name);
        if (known == nameIds_.constEnd())
            known = nameIds_.insert(name, std::int32_t(nameIds_.size()));
        return *known;
    }
    // The number of a name met before; -1 for a name never met.
    std::int32_t knownNameId(const QString& name) const { return nameIds_.value(name, -1); }

    // The document being validated, set by the driver. Element content asked
    // of this very text comes from an index built once on first use, so that
    // rules asking for the content of tag after tag stay linear.
    void indexText(const QString& text)
    {
        indexedText = text;
        textIndex.reset();
    }
    // The index when `source` is the indexed text, else null.
    const ElementIndex* indexFor(const QString& source)
    {
        if (indexedText.isEmpty() || source.constData() != indexedText.constData()
            || source.size() != indexedText.size())
            return nullptr;
        if (!textIndex)
            textIndex = std::make_unique<ElementIndex>(indexedText);
        return textIndex.get();
    }

    // The index when `part` lies within the indexed text, else null.
    const ElementIndex* indexCovering(QStringView part)
    {
        const QChar* begin = indexedText.constData();
        if (indexedText.isEmpty() || part.data() < begin
            || part.data() + part.size() > begin + indexedText.size())
            return nullptr;
        if (!textIndex)
            textIndex = std::make_unique<ElementIndex>(indexedText);
        return textIndex.get();
    }

private:
    std::array<Name, 64> recentNames_;
    QHash<QString, std::int32_t> nameIds_;
    QString indexedText; // shares the document's data; never written through
    std::unique_ptr<ElementIndex> textIndex;
};
