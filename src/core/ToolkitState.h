#pragma once

#include <QList>
#include <QString>
#include <cstdint>
#include <memory>

// Something a rule computed once from the whole text of the file, kept until
// the next file. Each user derives its own.
struct WholeTextIndex {
    virtual ~WholeTextIndex() = default;
};

// Values that the tag toolkit shares with the validation run. They live in
// the run state; the toolkit only holds a reference to them.
struct ToolkitState {
    std::int32_t FirstMatchPosition = 0; // written by CountStr
    QList<std::int32_t> RemovedContentLengths; // rebuilt by RemoveTags(…, true)
    QString QuotedMarkupNote; // appended by NoteQuotedMarkup
    std::int32_t currentLineNumber = 0; // the driver's current line, for the note
    std::shared_ptr<const WholeTextIndex> elementIndex; // built on first use per file
};
