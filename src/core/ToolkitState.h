#pragma once

#include "core/ElementIndex.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <memory>

// Values that the tag toolkit shares with the validation run. They live in
// the run state; the toolkit only holds a reference to them.
struct ToolkitState {
    QList<std::int32_t> RemovedContentLengths; // rebuilt by RemoveTags(…, true)
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

    // A tag name as a string shared with every earlier tag of that name, so
    // that naming a tag allocates nothing; a null name stays null. A file of
    // endless distinct names stops adding them once the table is full.
    QString internedName(QStringView name)
    {
        if (name.isNull())
            return {};
        if (const auto known = tagNames_.constFind(name); known != tagNames_.cend())
            return *known;
        QString owned = name.toString();
        constexpr qsizetype kMostNames = 4096;
        if (tagNames_.size() < kMostNames)
            tagNames_.insert(QStringView(owned), owned); // the key views the kept copy's characters
        return owned;
    }

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
    QHash<QStringView, QString> tagNames_;
    QString indexedText; // shares the document's data; never written through
    std::unique_ptr<ElementIndex> textIndex;
};
