#pragma once

#include "core/ValidationContext.h"
#include "engine/Dispatch.h"

#include <QList>
#include <QString>
#include <cstdint>

struct FileRecord;
struct RunServices;

// Validates the file at file.inputPath: loads it, resets the per-file state,
// runs the whole-file checks and scans every line, dispatching the declared
// routines for each tag as the declaration table resolved them (against the
// same book, whose whole-file checks run first). An unexpected failure is shown and ends the run
// (RunAborted); the reports written so far stay. file.inputIdentity is the
// input as it was read.
void ValidateFile(FileRecord& file, const RunServices& run, const RuleBook& rules);

// Clears what belongs to one file. The open-tag list is deliberately kept:
// elements left open by one file of a batch stay open for the next.
void ResetPerFileState(FileRecord& state);

// Splits the whole text at CR LF into line start offsets (an empty text has
// no line at all).
void SplitLines(FileRecord& state);

// Walks the tags of one line left to right. lineStart is the zero-based
// offset of the line in the whole text, lineNumber is one-based.
void ScanLine(FileRecord& state, const RunServices& run, const QString& line, std::int32_t lineStart,
    std::int32_t lineNumber);

// What one file of a batch hands on to the next through the driver: the
// open-tag list and the contexts of the last tag and the last start tag.
struct CarriedTagState {
    QList<ValidationContext> openTags;
    ValidationContext context;
    ValidationContext previousTag;
    ValidationContext previousStartTag;
};
CarriedTagState CarriedTagStateOf(const FileRecord& state);
// Makes the state's driver continue from what an earlier file left behind.
// Given a list of its own, the driver opens and closes tags in it without
// copying it first.
void SeedCarriedTagState(FileRecord& state, CarriedTagState carried);
