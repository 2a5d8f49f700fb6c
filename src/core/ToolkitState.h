#pragma once

#include <QList>
#include <QString>
#include <cstdint>

// Values that the tag toolkit shares with the validation run. They live in
// the run state; the toolkit only holds a reference to them.
struct ToolkitState {
    std::int32_t FirstMatchPosition = 0; // written by CountStr
    QList<std::int32_t> RemovedContentLengths; // rebuilt by RemoveTags(…, true)
    QString QuotedMarkupNote; // appended by NoteQuotedMarkup
    std::int32_t currentLineNumber = 0; // the driver's current line, for the note
};
